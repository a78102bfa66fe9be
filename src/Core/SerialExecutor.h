// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <qcoro/coroutine.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace Tarnwick {

/// A thread that runs tasks one after another, in the order in which they came. Owned by who needs
/// such a thread, and destroyed on another one.
class SerialExecutor
{
public:
    using Task = std::function<void()>;

    /// Lets the coroutine that awaits it continue on the executor's thread.
    class Entry
    {
    public:
        explicit Entry(SerialExecutor &executor)
            : m_executor(&executor)
        {
        }

        [[nodiscard]] bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> coroutine) const { m_executor->post(coroutine); }
        void await_resume() const noexcept {}

    private:
        SerialExecutor *m_executor;
    };

    SerialExecutor();
    /// Returns when every task has run.
    ~SerialExecutor();
    SerialExecutor(const SerialExecutor &) = delete;
    SerialExecutor &operator=(const SerialExecutor &) = delete;

    /// Runs @p task, which throws nothing, after those that were posted before. Any thread.
    void post(Task task);

    /// `co_await executor.enter()` continues on the executor's thread, behind what is queued. A
    /// task of QCoro continues whoever awaits it on the thread on which it ends, so it has to go
    /// back to the main thread before that. Any thread.
    [[nodiscard]] Entry enter() { return Entry(*this); }

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Task> m_tasks;
    bool m_closing = false;
    std::thread m_thread;
};

} // namespace Tarnwick
