// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenAddress.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tarnwick {

/// Whether a server could bind a TCP port now, found out by doing so. The socket is closed at once
/// and never listens. Any thread.
class PortBinding
{
public:
    PortBinding() = delete;

    enum class Outcome {
        Possible,
        InUse,  ///< EADDRINUSE
        Unknown ///< this user may not bind the port, or the system is short of descriptors
    };

    /// SO_REUSEADDR of socket(7), which nearly every server sets.
    enum class ReuseAddress { No, Yes };

    /// Binds @p port at each of @p addresses, one after the other. An address that this machine
    /// does not have (any more), or whose IP family it lacks, is passed over; `Possible` where no
    /// other is given.
    [[nodiscard]] static Outcome attempt(std::uint16_t port,
                                         std::span<const ListenAddress> addresses,
                                         ReuseAddress reuse = ReuseAddress::Yes);

    /// 0.0.0.0, and `::` without IPv4: where both can be bound, every address can.
    [[nodiscard]] static std::vector<ListenAddress> everyAddress();
};

} // namespace Tarnwick
