// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SystemdEventLoop.h"

#include "Helper/linux/CallFromC.h"

#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>

#include <sys/epoll.h>
#include <systemd/sd-event.h>

namespace Tarnwick {

namespace {

void check(int result, const char *what)
{
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
}

class SystemdWait : public EventLoop::Wait
{
public:
    explicit SystemdWait(EventLoop::Task task)
        : m_task(std::move(task))
    {
    }
    ~SystemdWait() override { sd_event_source_disable_unref(m_source); }

    [[nodiscard]] sd_event_source **source() { return &m_source; }

    static int call(sd_event_source *source, void *wait)
    {
        return callFromC(sd_event_source_get_event(source), [wait] {
            // A copy, since the task may destroy its wait.
            const EventLoop::Task task = static_cast<SystemdWait *>(wait)->m_task;
            task();
        });
    }

private:
    EventLoop::Task m_task;
    sd_event_source *m_source = nullptr;
};

int onEvent(sd_event_source *source, void *wait)
{
    return SystemdWait::call(source, wait);
}

int onTime(sd_event_source *source, std::uint64_t /*now*/, void *wait)
{
    return SystemdWait::call(source, wait);
}

int onReadable(sd_event_source *source, int /*descriptor*/, std::uint32_t /*events*/, void *wait)
{
    return SystemdWait::call(source, wait);
}

} // namespace

SystemdEventLoop::SystemdEventLoop()
{
    check(sd_event_new(&m_event), "sd_event_new");
}

SystemdEventLoop::~SystemdEventLoop()
{
    sd_event_unref(m_event);
}

std::unique_ptr<EventLoop::Wait> SystemdEventLoop::whenIdle(Task task)
{
    auto wait = std::make_unique<SystemdWait>(std::move(task));
    check(sd_event_add_defer(m_event, wait->source(), &onEvent, wait.get()), "sd_event_add_defer");
    check(sd_event_source_set_priority(*wait->source(), SD_EVENT_PRIORITY_IDLE),
          "sd_event_source_set_priority");
    return wait;
}

std::unique_ptr<EventLoop::Wait> SystemdEventLoop::at(Clock::time_point moment, Task task)
{
    // libstdc++'s steady clock is CLOCK_MONOTONIC.
    const auto microseconds =
        std::chrono::ceil<std::chrono::microseconds>(moment.time_since_epoch()).count();
    auto wait = std::make_unique<SystemdWait>(std::move(task));
    constexpr std::uint64_t accuracy = 1000; // microseconds
    check(sd_event_add_time(m_event, wait->source(), CLOCK_MONOTONIC,
                            static_cast<std::uint64_t>(microseconds), accuracy, &onTime,
                            wait.get()),
          "sd_event_add_time");
    return wait;
}

std::unique_ptr<EventLoop::Wait> SystemdEventLoop::whenReadable(int descriptor, Task task)
{
    auto wait = std::make_unique<SystemdWait>(std::move(task));
    check(sd_event_add_io(m_event, wait->source(), descriptor, EPOLLIN, &onReadable, wait.get()),
          "sd_event_add_io");
    return wait;
}

std::unique_ptr<EventLoop::Wait> SystemdEventLoop::afterEachRound(Task task)
{
    auto wait = std::make_unique<SystemdWait>(std::move(task));
    check(sd_event_add_post(m_event, wait->source(), &onEvent, wait.get()), "sd_event_add_post");
    return wait;
}

int SystemdEventLoop::run()
{
    return sd_event_loop(m_event);
}

void SystemdEventLoop::leave(int status)
{
    static_cast<void>(sd_event_exit(m_event, status));
}

} // namespace Tarnwick
