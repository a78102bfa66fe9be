// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace Tarnwick {

/// Notices when the bus has stopped reading a connection. A bus daemon limits the bytes of a
/// sender's messages that their receivers have not read, and reads no further at that limit: one
/// receiver that does not read then stops all that is sent on the connection, for good.
class BusOutput
{
public:
    /// Calls @p onStopped once when something was unread for @ref maxStop and none of it was
    /// read meanwhile. Time in which this process is stopped does not count. The connection and the
    /// loop outlive this object.
    BusOutput(sd_bus *bus, SystemdEventLoop &loop, EventLoop::Task onStopped);

    /// To be called after messages were sent outside a dispatch of the loop.
    void update();

    static constexpr std::chrono::seconds checkInterval{1};
    static constexpr int maxChecks = 10; ///< in a row without progress
    static constexpr std::chrono::seconds maxStop = maxChecks * checkInterval;

private:
    /// What the bus has not read.
    struct Unread
    {
        std::uint64_t queued = 0; ///< messages in sd-bus's queue
        int inSocket = 0;         ///< bytes in the socket's buffer, with the kernel's overhead
    };

    [[nodiscard]] Unread unread() const;
    void checkLater();
    void check();

    sd_bus *m_bus;
    SystemdEventLoop &m_loop;
    EventLoop::Task m_onStopped;
    Unread m_last;
    int m_checks = 0; ///< since the bus last read something
    std::unique_ptr<EventLoop::Wait> m_rounds;
    std::unique_ptr<EventLoop::Wait> m_timer; ///< only while something is unread
};

} // namespace Tarnwick
