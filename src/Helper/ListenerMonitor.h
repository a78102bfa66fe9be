// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"

#include <chrono>
#include <memory>

namespace Tarnwick {

/// Detects that TCP sockets of this network namespace begin or cease to listen, much cheaper than a
/// scan. It compares dumps of the listening sockets and makes one when something indicates a
/// change: the number of TCP sockets, which is read at each check, or a notification of the kernel
/// that a socket was destroyed. Further dumps find what neither indicates; they take a bounded part
/// of the time. What changes without a socket, such as the owner, is left to scans. Belongs to one
/// thread.
class ListenerMonitor
{
public:
    using Clock = std::chrono::steady_clock;

    struct Options
    {
        ListenerInventory::SocketSource source = ListenerInventory::SocketSource::Automatic;
        std::chrono::milliseconds interval{120}; ///< between two checks
        /// Dumps that nothing indicates take one part in this many of the time at most.
        int restShare = 10'000;
        /// So do dumps after an indication, while they find nothing: connections come and go.
        int indicatedShare = 100;
    };

    ListenerMonitor();
    explicit ListenerMonitor(const Options &options);
    ~ListenerMonitor();
    ListenerMonitor(const ListenerMonitor &) = delete;
    ListenerMonitor &operator=(const ListenerMonitor &) = delete;

    /// Readable when hasChanged() should be called before nextCheck(); -1 where the kernel does not
    /// notify, and until nextCheck() after a notification that meant no change.
    [[nodiscard]] int descriptor() const;

    /// When hasChanged() should be called next.
    [[nodiscard]] Clock::time_point nextCheck() const;

    /// Whether other sockets listen than at the previous call, as far as this one checked; false at
    /// the first. A scan that begins afterwards finds what has changed. False as well where the
    /// sockets cannot be listed.
    [[nodiscard]] bool hasChanged();

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};

} // namespace Tarnwick
