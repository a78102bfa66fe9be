// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>

namespace Tarnwick {

/// TCP sockets of the test's own, at 127.0.0.1 unless another address is given. All are closed on
/// exec; what fails throws std::runtime_error.
class LocalSocket
{
public:
    LocalSocket() = delete;

    enum class Reuse { No, Yes }; ///< SO_REUSEADDR

    /// A socket that is bound to @p port, to any for 0, and does not listen.
    [[nodiscard]] static FileDescriptor bound(std::uint16_t port = 0, Reuse reuse = Reuse::Yes);

    /// The same for IPv6: at ::1, or at `::` with or without IPv4.
    enum class V6 { Loopback, AnyAlone, AnyWithIPv4 };
    [[nodiscard]] static FileDescriptor boundV6(V6 address, std::uint16_t port = 0);

    static void listen(const FileDescriptor &socket);

    [[nodiscard]] static std::uint16_t port(const FileDescriptor &socket);

    /// A connection to the socket @p listener, and what that accepts of it.
    struct Connection
    {
        FileDescriptor client;
        FileDescriptor server;
    };
    [[nodiscard]] static Connection connection(const FileDescriptor &listener);
};

} // namespace Tarnwick
