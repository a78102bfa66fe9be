// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <qcoro/coroutine.h>

#include <functional>

namespace Tarnwick {

/// The way to the main thread, that of the application object (QCoreApplication), from any other.
/// What is posted while there is no application object waits for one, so at the end of the program
/// it is not run any more.
class MainThread
{
public:
    MainThread() = delete;

    using Task = std::function<void()>;

    /// Lets the coroutine that awaits it continue on the main thread.
    class Entry
    {
    public:
        [[nodiscard]] bool await_ready() const { return isCurrent(); }
        void await_suspend(std::coroutine_handle<> coroutine) const { post(coroutine); }
        void await_resume() const noexcept {}
    };

    /// Runs @p task, which throws nothing, on the main thread, from the event loop: in the order
    /// of the calls, one task for each event. Any thread.
    static void post(Task task);

    /// `co_await MainThread::enter()` continues on the main thread: at once when it is there
    /// already, else in the way of post(). Any thread.
    [[nodiscard]] static Entry enter() { return {}; }

    /// Whether the caller runs on the main thread. Any thread.
    [[nodiscard]] static bool isCurrent();
};

} // namespace Tarnwick
