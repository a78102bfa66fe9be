// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/SerialExecutor.h"

#include <utility>

namespace Tarnwick {

SerialExecutor::SerialExecutor()
    : m_thread(&SerialExecutor::run, this)
{
}

SerialExecutor::~SerialExecutor()
{
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void SerialExecutor::post(Task task)
{
    // Notified under the lock: what the task does may end the executor's life.
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    m_changed.notify_one();
}

void SerialExecutor::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_closing || !m_tasks.empty(); });
        if (m_tasks.empty()) {
            return;
        }
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        task = nullptr; // what it holds goes on this thread, and without the lock
        lock.lock();
    }
}

} // namespace Tarnwick
