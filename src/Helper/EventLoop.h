// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace Tarnwick {

/// What the service needs of the event loop that its channel runs on: to be called when nothing
/// else is waiting, and when a descriptor becomes readable. A channel brings its own. One thread.
class EventLoop
{
public:
    using Task = std::function<void()>;
    using Clock = std::chrono::steady_clock;

    /// Something that is being waited for, no longer than this object lives. A task may destroy the
    /// wait that it was called by.
    class Wait
    {
    public:
        Wait() = default;
        virtual ~Wait() = default;
        Wait(const Wait &) = delete;
        Wait &operator=(const Wait &) = delete;
    };

    EventLoop() = default;
    virtual ~EventLoop() = default;
    EventLoop(const EventLoop &) = delete;
    EventLoop &operator=(const EventLoop &) = delete;

    /// Calls @p task once, when there is nothing else to do.
    [[nodiscard]] virtual std::unique_ptr<Wait> whenIdle(Task task) = 0;

    /// Calls @p task once, at @p moment or soon after.
    [[nodiscard]] virtual std::unique_ptr<Wait> at(Clock::time_point moment, Task task) = 0;

    /// Calls @p task whenever @p descriptor is readable.
    [[nodiscard]] virtual std::unique_ptr<Wait> whenReadable(int descriptor, Task task) = 0;
};

} // namespace Tarnwick
