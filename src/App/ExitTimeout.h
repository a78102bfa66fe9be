// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tarnwick {

/// Bounds the end of the program. Qt waits then for its D-Bus thread, which hangs with a bus that
/// accepts no connection, and with a file descriptor that came in a message and whose close does
/// not return: libdbus takes descriptors from everybody on the bus, and neither it nor Qt can be
/// made to refuse them on a connection of their kind. Made first and destroyed last, as a static
/// object, so that what is destroyed between is bounded as well. Main thread.
class ExitTimeout
{
public:
    static constexpr std::chrono::milliseconds defaultTimeout{2000};

    ExitTimeout() = default;
    /// The orderly end was in time.
    ~ExitTimeout();
    ExitTimeout(const ExitTimeout &) = delete;
    ExitTimeout &operator=(const ExitTimeout &) = delete;

    /// Ends the process with @p status, after what is in the log's queue, unless this object is
    /// destroyed within @p timeout. Nothing where there can be no thread. Call it once.
    void start(int status, std::chrono::milliseconds timeout = defaultTimeout) noexcept;

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_thread;
};

} // namespace Tarnwick
