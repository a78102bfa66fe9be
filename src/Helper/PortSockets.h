// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenAddress.h"
#include "Helper/ListenerInventory.h"

#include <cstdint>
#include <variant>
#include <vector>

namespace Tarnwick {

/// A TCP socket on a port, in whatever state.
struct PortSocket
{
    enum class State : std::uint8_t {
        Listening,
        Bound,     ///< to the port, and neither listening nor connected (Linux 6.8)
        Connected, ///< or about to be, or closing at one of the two ends
        TimeWait,  ///< closed; the kernel keeps the pair of addresses for 60 s (tcp(7))
    };

    State state = State::Listening;
    ListenAddress address{};    ///< the local one
    ListenAddress peer{};       ///< of a connection, else all zero
    std::uint16_t peerPort = 0; ///< of a connection, else 0
    std::uint32_t userId = 0;   ///< the user who made it
    std::uint32_t inode = 0;    ///< 0 where no process has it any more

    friend bool operator==(const PortSocket &, const PortSocket &) = default;
};

/// The TCP sockets on one local port, in the network namespace of this process: one request to the
/// kernel for each IP family. Any thread.
class PortSockets
{
public:
    PortSockets() = delete;

    enum class Which {
        Listening,
        All ///< those that listen alone where the kernel refuses socket diagnostics
    };
    using Result = std::variant<std::vector<PortSocket>, ListingError>;

    /// The sockets on @p port, those of IPv4 first.
    [[nodiscard]] static Result on(std::uint16_t port, Which which);

    /// The processes that have the socket with @p inode open, as far as this user may see, by a
    /// look at the descriptors of every process; ascending. Takes some milliseconds.
    [[nodiscard]] static std::vector<std::int32_t> holders(std::uint32_t inode);
};

} // namespace Tarnwick
