// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchSchedule.h"

#include <algorithm>
#include <ctime>

namespace Tarnwick {

namespace {

/// Of all threads of this process.
std::chrono::nanoseconds processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

WatchSchedule::Scan::Scan(WatchSchedule &schedule)
    : m_schedule(schedule)
    , m_begin(processorTime())
{
}

WatchSchedule::Scan::~Scan()
{
    m_schedule.noteScan(Clock::now(), processorTime() - m_begin);
}

void WatchSchedule::noteChange()
{
    m_nextScan = std::min(m_nextScan, m_earliestForChange);
}

void WatchSchedule::noteScan(Clock::time_point now, std::chrono::nanoseconds processorTime)
{
    const auto cost = std::chrono::duration_cast<Clock::duration>(processorTime);
    const Clock::duration interval = m_interval.value_or(defaultInterval);
    // The first scan costs more than those that follow.
    const bool isBounded = !m_interval && m_hasScanned;
    m_nextScan = now + (isBounded ? std::max(interval, cost * restShare) : interval);
    m_hasScanned = true;
    m_earliestForChange = now + cost * changeShare;
}

} // namespace Tarnwick
