// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessorClock.h"

namespace Tarnwick {

ProcessorClock::ProcessorClock(pid_t pid)
{
    if (::clock_getcpuclockid(pid, &m_clock) != 0) {
        m_clock = -1;
    }
}

bool ProcessorClock::hasAdvanced()
{
    constexpr std::int64_t nanoseconds = 1'000'000'000;
    timespec time = {};
    if (m_clock == -1 || ::clock_gettime(m_clock, &time) != 0) {
        return true;
    }
    const std::int64_t before = m_time;
    m_time = time.tv_sec * nanoseconds + time.tv_nsec;
    return m_time != before;
}

} // namespace Tarnwick
