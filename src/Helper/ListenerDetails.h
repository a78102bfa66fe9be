// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Helper/ListenAddress.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarnwick {

/// What is known of a listening socket beside its record. All strings are UTF-8.
struct ListenerDetails
{
    std::uint64_t socket = 0; ///< as ScanResult::sockets has it
    ListenAddress address{};
    std::string interface {
    };                        ///< that the socket is bound to, "eth0"; empty for none
    std::uint32_t userId = 0; ///< the user who made the socket
    std::string user{};       ///< the name of that user, or the number where it has none
    /// The unit of the service manager in which the owner runs, "nginx.service" or
    /// "session-2.scope"; where the owner is the manager itself or unknown, the service that it
    /// listens for, or else the unit in which the socket was made. Empty for none.
    std::string unit{};
    bool isUserUnit = false;  ///< the unit is of a user's service manager and not of the system's
    std::string socketUnit{}; ///< the unit that the service manager listens for, "cups.socket"
    std::optional<Container> container{}; ///< in which the owner runs
    std::optional<Forwarding>
        forwarding{}; ///< where the owner passes connections on to a container

    /// Whether other machines can reach it, as far as the address tells.
    [[nodiscard]] bool isExposed() const { return !address.isLoopback() && interface != "lo"; }
};

} // namespace Tarnwick
