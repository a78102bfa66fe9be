// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace Tarnwick {

/// The number of TCP sockets in use in a network namespace, those that listen and those that are
/// connected, of each IP family: "inuse" in /proc/net/sockstat and sockstat6. The files are kept
/// open; reading both takes a few microseconds, however many sockets there are. Any thread, one at
/// a time.
class TcpSocketCount
{
public:
    /// Of the namespace that the calling thread is in.
    TcpSocketCount();

    /// IPv4 and IPv6; nothing where the files cannot be read. A kernel without IPv6 has 0 of it.
    [[nodiscard]] std::optional<std::pair<std::uint64_t, std::uint64_t>> read() const;

    /// The number behind @p label, "TCP: inuse ", in the text of such a file.
    [[nodiscard]] static std::optional<std::uint64_t> parse(std::string_view text,
                                                            std::string_view label);

private:
    FileDescriptor m_ipv4;
    FileDescriptor m_ipv6;
};

} // namespace Tarnwick
