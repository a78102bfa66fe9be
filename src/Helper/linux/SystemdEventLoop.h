// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/EventLoop.h"

#include <memory>

struct sd_event;

namespace Tarnwick {

/// The event loop of sd-event(3), which the helper's bus connection runs on.
class SystemdEventLoop : public EventLoop
{
public:
    /// Throws std::system_error when the system has no descriptors left.
    SystemdEventLoop();
    ~SystemdEventLoop() override;

    [[nodiscard]] std::unique_ptr<Wait> whenIdle(Task task) override;
    [[nodiscard]] std::unique_ptr<Wait> at(Clock::time_point moment, Task task) override;
    [[nodiscard]] std::unique_ptr<Wait> whenReadable(int descriptor, Task task) override;

    /// Calls @p task after each round in which something else was dispatched.
    [[nodiscard]] std::unique_ptr<Wait> afterEachRound(Task task);

    /// Runs until `leave()`; the status that was given there, or a negative errno.
    int run();
    void leave(int status);

    /// For libraries that attach themselves to the loop. Observed, not owned.
    [[nodiscard]] sd_event *event() const { return m_event; }

private:
    sd_event *m_event = nullptr;
};

} // namespace Tarnwick
