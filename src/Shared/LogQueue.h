// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include <sys/types.h>

namespace Tarnwick {

/// Writes lines to the log file one after another on a thread of its own. That thread is never
/// joined and the one instance never destroyed, so that a file system that hangs cannot hang the
/// program's end; at that end, what is waiting gets a second to reach the file, less when a flush
/// has waited in vain before. A process that was forked from one with a queue has no such thread,
/// and writes nothing. Any thread.
class LogQueue
{
public:
    /// The one queue; its thread starts with the first call. Throws std::system_error when there
    /// can be no thread, and tries again at the next call.
    [[nodiscard]] static LogQueue &shared();

    /// Starts the thread. For shared() alone, which sees to it that the queue is never destroyed.
    LogQueue();
    ~LogQueue() = delete;
    LogQueue(const LogQueue &) = delete;
    LogQueue &operator=(const LogQueue &) = delete;
    LogQueue(LogQueue &&) = delete;
    LogQueue &operator=(LogQueue &&) = delete;

    /// Takes @p line for the file; at the program's end, drops it.
    void append(std::string line);

    /// Waits for @p bound at most, and returns whether every line taken before the call was written
    /// or lost.
    bool flush(std::chrono::milliseconds bound);

private:
    [[noreturn]] void run();
    void close();
    [[nodiscard]] bool hasThread() const;

    const pid_t m_process;
    std::mutex m_mutex;
    std::condition_variable m_lineTaken;
    std::condition_variable m_lineDone;
    std::deque<std::string> m_lines;
    std::uint64_t m_taken = 0; ///< lines, since the start
    std::uint64_t m_done = 0;  ///< of those taken
    bool m_stuck = false;      ///< a flush has waited in vain, and no line was done since
    bool m_closed = false;
};

} // namespace Tarnwick
