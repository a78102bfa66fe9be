// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/SessionGuard.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// The addresses at which the programs of a session reach its message bus and its display server.
class SessionSockets
{
public:
    SessionSockets() = delete;

    struct Address
    {
        enum class Kind {
            Path,     ///< of a UNIX socket
            Abstract, ///< the name of a UNIX socket, of any bytes
            Port      ///< of TCP, on this machine
        };
        Kind kind = Kind::Path;
        std::string name; ///< empty for a port
        std::uint16_t port = 0;
        SessionGuard::Part part = SessionGuard::Part::MessageBus;

        friend bool operator==(const Address &, const Address &) = default;
    };

    struct Found
    {
        std::vector<Address> addresses;
        /// Whether the message bus of the session is among them, and not only the system's.
        bool hasSessionBus = false;
    };

    /// The addresses of the sessions of @p users, and those of the system's bus: what the
    /// environment of this process names, and each user's bus in /run/user. Where the environment
    /// is another user's or names no display, all sockets of the users in /tmp/.X11-unix and all of
    /// the compositors in /run/user count. The errno when a folder cannot be read for now.
    [[nodiscard]] static std::variant<Found, int> addresses(std::span<const uid_t> users);

    /// The addresses in a list of bus addresses,
    /// "unix:path=/run/user/1000/bus;tcp:host=::1,port=9", with their escapes undone. TCP on other
    /// machines and other transports are left out.
    [[nodiscard]] static std::vector<Address> busAddresses(std::string_view list);

    /// The addresses at which the X display ":1.0" or "localhost:10.0" is reached; none for one on
    /// another machine.
    [[nodiscard]] static std::vector<Address> displayAddresses(std::string_view display);
};

} // namespace Tarnwick
