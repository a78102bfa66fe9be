// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/SessionGuard.h"

#include <cstddef>
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
        /// Whether a symbolic link at the path is followed: only where the environment names the
        /// path, for in a folder that others share a link may lead anywhere.
        bool followsLinks = true;
        /// Whether this is an address of the session's own message bus, and on this machine.
        bool isSessionBus = false;
        /// Whether the address names its host, and not so that it is surely this machine.
        bool mayBeElsewhere = false;

        friend bool operator==(const Address &, const Address &) = default;
    };

    /// How many sockets in /tmp/.X11-unix and /run/user count at most, links to the same one
    /// aside.
    static constexpr std::size_t mostInFolders = 256;

    /// The addresses of the sessions of @p users, and those of the system's bus: what the
    /// environment of this process names, and each user's bus in /run/user. Where the environment
    /// is another user's or names no display, all sockets of the users in /tmp/.X11-unix and all of
    /// the compositors in /run/user count. The errno when a folder cannot be read for now; E2BIG
    /// when more than mostInFolders sockets would count. Waits for no other process's file system
    /// but where the environment names a path on one.
    [[nodiscard]] static std::variant<std::vector<Address>, int>
    addresses(std::span<const uid_t> users);

    /// The addresses in a list of bus addresses,
    /// "unix:path=/run/user/1000/bus;tcp:host=::1,port=9", with their escapes undone. TCP on other
    /// machines, where their address is numeric, and other transports are left out.
    [[nodiscard]] static std::vector<Address> busAddresses(std::string_view list);

    /// The addresses at which the X display ":1.0" or "localhost:10.0" is reached; none for one on
    /// another machine, where its address is numeric.
    [[nodiscard]] static std::vector<Address> displayAddresses(std::string_view display);
};

} // namespace Tarnwick
