// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/EventLoop.h"

#include <cstddef>
#include <list>
#include <memory>

namespace Tarnwick {

/// An event loop that the test turns by hand: it is idle when the test says so, and its time is as
/// late as the test says. Descriptors are the real ones.
class FakeEventLoop : public EventLoop
{
public:
    [[nodiscard]] std::unique_ptr<Wait> whenIdle(Task task) override;
    [[nodiscard]] std::unique_ptr<Wait> at(Clock::time_point moment, Task task) override;
    [[nodiscard]] std::unique_ptr<Wait> whenReadable(int descriptor, Task task) override;

    /// Does what waits for idleness.
    void beIdle();
    /// Does what is due by @p moment.
    void reach(Clock::time_point moment);
    /// Waits up to ten seconds for a descriptor to be readable, and does what waits for it; false
    /// when none becomes so.
    [[nodiscard]] bool awaitReadable();

    [[nodiscard]] std::size_t waits() const { return m_waiting.size(); }

private:
    enum class Kind { Idle, Moment, Readable };
    struct Waiting
    {
        Kind kind;
        Clock::time_point moment;
        int descriptor;
        Task task;
    };
    class FakeWait;

    std::unique_ptr<Wait> add(Waiting waiting);

    std::list<Waiting> m_waiting;
};

} // namespace Tarnwick
