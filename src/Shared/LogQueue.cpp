// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/LogQueue.h"

#include "Shared/LogFile.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <thread>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// How long the end of the program waits for the file.
constexpr std::chrono::seconds closingTime{1};

/// Blocks every signal for the calling thread, and for those that it starts.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_previous);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

private:
    sigset_t m_previous{};
};

void appendToFile(const std::string &line) noexcept
{
    try {
        LogFile::append(line);
    } catch (...) {
        // Out of memory: the line is lost.
    }
}

} // namespace

LogQueue &LogQueue::shared()
{
    // Bytes have no destructor: like its thread, the queue outlives the static objects.
    alignas(LogQueue) static std::array<std::byte, sizeof(LogQueue)> storage;
    static LogQueue &queue = *std::construct_at(reinterpret_cast<LogQueue *>(storage.data()));
    return queue;
}

LogQueue::LogQueue()
    : m_process(::getpid())
{
    const SignalsBlocked onItsThread;
    std::thread(&LogQueue::run, this).detach();
    std::atexit([] { shared().close(); });
}

void LogQueue::append(std::string line)
{
    if (!hasThread()) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    if (m_closed) {
        return;
    }
    m_lines.push_back(std::move(line));
    ++m_taken;
    m_lineTaken.notify_one();
}

bool LogQueue::flush(std::chrono::milliseconds bound)
{
    if (!hasThread()) {
        return true;
    }
    std::unique_lock lock(m_mutex);
    const bool isDone =
        m_lineDone.wait_for(lock, bound, [this, last = m_taken] { return m_done >= last; });
    m_stuck = !isDone;
    return isDone;
}

void LogQueue::close()
{
    if (!hasThread()) {
        return;
    }
    std::unique_lock lock(m_mutex);
    m_closed = true;
    if (!m_stuck) {
        m_lineDone.wait_for(lock, closingTime, [this] { return m_done == m_taken; });
    }
}

void LogQueue::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_lineTaken.wait(lock, [this] { return !m_lines.empty(); });
        const std::string line = std::move(m_lines.front());
        m_lines.pop_front();
        lock.unlock();
        appendToFile(line);
        lock.lock();
        ++m_done;
        m_stuck = false;
        m_lineDone.notify_all();
    }
}

bool LogQueue::hasThread() const
{
    return ::getpid() == m_process;
}

} // namespace Tarnwick
