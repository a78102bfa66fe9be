// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/SessionGuard.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// The addresses at which the programs of a session reach its message bus and its display server.
class SessionSockets
{
public:
    SessionSockets() = delete;

    /// A socket of the UNIX domain: a path, or an abstract name behind an `@`, as /proc/net/unix
    /// writes both.
    struct Address
    {
        std::string name;
        SessionGuard::Part part = SessionGuard::Part::MessageBus;
    };

    /// The addresses in the environment of this process, and the buses that every session of @p
    /// user and the system have.
    [[nodiscard]] static std::vector<Address> addresses(unsigned user);

    /// The names in a bus address, "unix:path=/run/user/1000/bus;unix:abstract=x,guid=1", with its
    /// escapes undone. Others than those of UNIX sockets are left out.
    [[nodiscard]] static std::vector<std::string> busNames(std::string_view address);

    /// The names at which the X display ":1.0" is reached; none for one on another machine or over
    /// TCP.
    [[nodiscard]] static std::vector<std::string> displayNames(std::string_view display);

    /// Of the @p table, what /proc/net/unix holds, the inodes of the sockets that listen at one of
    /// @p addresses.
    [[nodiscard]] static std::map<std::uint32_t, SessionGuard::Part>
    listening(std::string_view table, const std::vector<Address> &addresses);
};

} // namespace Tarnwick
