// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// The addresses of listening sockets as a person reads them.
class AddressText
{
public:
    AddressText() = delete;

    /// The address of one socket: "127.0.0.1", "::1"; "0.0.0.0" for every address of IPv4, "::" for
    /// every one of IPv6, "*" for both. A socket that is bound to an interface has it behind a
    /// percent sign, "*%eth0". An IPv4-mapped IPv6 address is written as the IPv4 address.
    [[nodiscard]] static std::string of(const ListenerDetails &socket);

    /// The addresses of all sockets of a server, each once and those of IPv4 first; "0.0.0.0" and
    /// "::" together are "*".
    [[nodiscard]] static std::vector<std::string> all(const Listener &listener);

    /// One text for them: "127.0.0.1, ::1"; of more than two the first and the number of the
    /// others, "10.0.0.1 +19".
    [[nodiscard]] static std::string of(const Listener &listener);
};

} // namespace Tarnwick
