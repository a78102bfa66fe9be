// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/AppLog.h"

#include "Shared/Iso8601.h"
#include "Shared/LogQueue.h"
#include "Shared/WriteAll.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// Keeps the calling thread from being ended by SIGPIPE when it writes to a pipe that nobody reads
/// any more, and leaves the program's own handling of that signal alone.
class BrokenPipeGuard
{
public:
    BrokenPipeGuard()
        : m_wasPending(isPending())
    {
        sigemptyset(&m_brokenPipe);
        sigaddset(&m_brokenPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_brokenPipe, &m_previous);
    }
    ~BrokenPipeGuard()
    {
        if (!m_wasPending && isPending()) {
            int signal = 0;
            sigwait(&m_brokenPipe, &signal);
        }
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    }
    BrokenPipeGuard(const BrokenPipeGuard &) = delete;
    BrokenPipeGuard &operator=(const BrokenPipeGuard &) = delete;

private:
    static bool isPending()
    {
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    bool m_wasPending;
    sigset_t m_brokenPipe{};
    sigset_t m_previous{};
};

std::string lineFor(std::string_view message)
{
    using namespace std::chrono;
    std::string line = Iso8601::formatMilliseconds(floor<milliseconds>(system_clock::now()));
    line += ' ';
    line += message;
    line += '\n';
    return line;
}

/// Begins on a line of its own after one that a full disk or pipe has cut off.
void writeToStandardError(std::string_view line)
{
    static std::atomic<bool> isCutOff{false};
    const BrokenPipeGuard guard;
    if (isCutOff && writeAvailable(STDERR_FILENO, "\n") == 1) {
        isCutOff = false;
    }
    const std::size_t written = writeAvailable(STDERR_FILENO, line);
    if (written > 0 && written < line.size()) {
        isCutOff = true;
    }
}

} // namespace

void AppLog::log(std::string_view message) noexcept
{
    try {
        std::string line = lineFor(message);
        writeToStandardError(line);
        LogQueue::shared().append(std::move(line));
    } catch (...) {
        // No memory or no thread: the line is lost, the caller is not.
    }
}

bool AppLog::flush(std::chrono::milliseconds bound) noexcept
{
    try {
        return LogQueue::shared().flush(bound);
    } catch (...) {
        // No thread, and so no line that would wait for it.
        return true;
    }
}

} // namespace Tarnwick
