// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/FakeEventLoop.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <poll.h>

namespace Tarnwick {

class FakeEventLoop::FakeWait : public EventLoop::Wait
{
public:
    FakeWait(FakeEventLoop &loop, std::list<Waiting>::iterator place)
        : m_loop(loop)
        , m_place(place)
    {
    }
    ~FakeWait() override { m_loop.m_waiting.erase(m_place); }

private:
    FakeEventLoop &m_loop;
    std::list<Waiting>::iterator m_place;
};

std::unique_ptr<EventLoop::Wait> FakeEventLoop::add(Waiting waiting)
{
    m_waiting.push_back(std::move(waiting));
    return std::make_unique<FakeWait>(*this, std::prev(m_waiting.end()));
}

std::unique_ptr<EventLoop::Wait> FakeEventLoop::whenIdle(Task task)
{
    return add({.kind = Kind::Idle, .moment = {}, .descriptor = -1, .task = std::move(task)});
}

std::unique_ptr<EventLoop::Wait> FakeEventLoop::at(Clock::time_point moment, Task task)
{
    return add({.kind = Kind::Moment, .moment = moment, .descriptor = -1, .task = std::move(task)});
}

std::unique_ptr<EventLoop::Wait> FakeEventLoop::whenReadable(int descriptor, Task task)
{
    return add(
        {.kind = Kind::Readable, .moment = {}, .descriptor = descriptor, .task = std::move(task)});
}

void FakeEventLoop::beIdle()
{
    const auto idle = [](const Waiting &waiting) { return waiting.kind == Kind::Idle; };
    for (auto next = std::find_if(m_waiting.begin(), m_waiting.end(), idle);
         next != m_waiting.end(); next = std::find_if(m_waiting.begin(), m_waiting.end(), idle)) {
        // Once, and the task may destroy the wait.
        next->kind = Kind::Moment;
        next->moment = Clock::time_point::max();
        const Task task = next->task;
        task();
    }
}

void FakeEventLoop::reach(Clock::time_point moment)
{
    const auto due = [moment](const Waiting &waiting) {
        return waiting.kind == Kind::Moment && waiting.moment <= moment;
    };
    for (auto next = std::find_if(m_waiting.begin(), m_waiting.end(), due); next != m_waiting.end();
         next = std::find_if(m_waiting.begin(), m_waiting.end(), due)) {
        next->moment = Clock::time_point::max();
        const Task task = next->task;
        task();
    }
}

bool FakeEventLoop::awaitReadable()
{
    constexpr int patience = 10'000;
    std::vector<pollfd> descriptors;
    std::vector<Task> tasks;
    for (const Waiting &waiting : m_waiting) {
        if (waiting.kind == Kind::Readable) {
            descriptors.push_back({.fd = waiting.descriptor, .events = POLLIN, .revents = 0});
            tasks.push_back(waiting.task);
        }
    }
    if (::poll(descriptors.data(), descriptors.size(), patience) <= 0) {
        return false;
    }
    const auto readable =
        std::find_if(descriptors.begin(), descriptors.end(),
                     [](const pollfd &descriptor) { return descriptor.revents != 0; });
    tasks[static_cast<std::size_t>(readable - descriptors.begin())]();
    return true;
}

} // namespace Tarnwick
