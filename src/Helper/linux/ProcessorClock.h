// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include <ctime>
#include <sys/types.h>

namespace Tarnwick {

/// Tells whether a process has run, from the processor time that all its threads have used up,
/// which the kernel counts in nanoseconds and tells everybody (clock_getcpuclockid(3)). What a
/// process has itself cannot have changed while it did not run. The time of a process that runs at
/// this very moment, on another processor, is counted only up to the last clock tick or change of
/// tasks.
class ProcessorClock
{
public:
    ProcessorClock() = default;
    explicit ProcessorClock(pid_t pid);

    /// Whether the process has run, or ended, since the call before; true at the first. An ended
    /// process is told as such at every call.
    [[nodiscard]] bool hasAdvanced();

private:
    clockid_t m_clock = -1;
    std::int64_t m_time = -1; ///< nanoseconds; -1 when not known
};

} // namespace Tarnwick
