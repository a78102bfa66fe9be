// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/MainThread.h"

#include "Core/NeverDestroyed.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace Tarnwick {

namespace {

/// The tasks lie here, under a lock of our own; an event of Qt only wakes the main thread, which
/// then takes one task. There is one such event on its way as long as there are tasks.
class TaskQueue
{
public:
    static TaskQueue &shared()
    {
        static NeverDestroyed<TaskQueue> queue;
        return *queue;
    }

    void post(MainThread::Task task)
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        if (m_tasks.size() == 1) {
            wake();
        }
    }

    [[nodiscard]] bool isCurrentThread()
    {
        const std::lock_guard lock(m_mutex);
        return m_thread == std::this_thread::get_id();
    }

    /// There is an application object now, and the calling thread is its own.
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_thread = std::this_thread::get_id();
        m_waker.emplace(*this);
        if (!m_tasks.empty()) {
            wake();
        }
    }

    /// The application object ends.
    void close()
    {
        const std::lock_guard lock(m_mutex);
        m_waker.reset();
        m_thread = {};
    }

private:
    class Waker final : public QObject
    {
    public:
        explicit Waker(TaskQueue &queue)
            : m_queue(queue)
        {
        }

    protected:
        void customEvent(QEvent * /*event*/) override { m_queue.runNext(); }

    private:
        TaskQueue &m_queue;
    };

    /// With the lock held, so that the event's receiver cannot go meanwhile.
    void wake()
    {
        if (m_waker) {
            QCoreApplication::postEvent(&*m_waker,
                                        std::make_unique<QEvent>(QEvent::User).release());
        }
    }

    void runNext() { takeNext()(); }

    [[nodiscard]] MainThread::Task takeNext()
    {
        const std::lock_guard lock(m_mutex);
        MainThread::Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        if (!m_tasks.empty()) {
            wake();
        }
        return task;
    }

    std::mutex m_mutex;
    std::deque<MainThread::Task> m_tasks;
    std::optional<Waker> m_waker; ///< while there is an application object
    std::thread::id m_thread;     ///< that of the application object
};

void closeWithTheApplication()
{
    TaskQueue::shared().close();
}

void openWithTheApplication()
{
    TaskQueue::shared().open();
    qAddPostRoutine(closeWithTheApplication);
}

Q_COREAPP_STARTUP_FUNCTION(openWithTheApplication)

} // namespace

void MainThread::post(Task task)
{
    TaskQueue::shared().post(std::move(task));
}

bool MainThread::isCurrent()
{
    return TaskQueue::shared().isCurrentThread();
}

} // namespace Tarnwick
