// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BootClock.h"

#include <ctime>
#include <unistd.h>

namespace Tarnwick {

namespace {

using std::chrono::nanoseconds;

nanoseconds read(clockid_t clock)
{
    timespec time = {};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

/// The reading with the least time between its two halves is the best of several: the thread may
/// have been interrupted between them.
nanoseconds measureBoot()
{
    constexpr int readings = 4;
    nanoseconds best{};
    nanoseconds least = nanoseconds::max();
    for (int reading = 0; reading < readings; ++reading) {
        const nanoseconds before = read(CLOCK_BOOTTIME);
        const nanoseconds wall = read(CLOCK_REALTIME);
        const nanoseconds between = read(CLOCK_BOOTTIME) - before;
        if (between < least) {
            least = between;
            best = wall - (before + between / 2);
        }
    }
    return best;
}

} // namespace

BootClock::BootClock()
    : m_boot(measureBoot())
    , m_ticksPerSecond(static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)))
{
}

bool BootClock::update()
{
    constexpr nanoseconds tolerated = std::chrono::milliseconds(500);
    const nanoseconds boot = measureBoot();
    if (std::chrono::abs(boot - m_boot) <= tolerated) {
        return false;
    }
    m_boot = boot;
    return true;
}

Timestamp BootClock::time(std::uint64_t ticks) const
{
    const std::chrono::seconds seconds(ticks / m_ticksPerSecond);
    const nanoseconds rest(ticks % m_ticksPerSecond * 1'000'000'000U / m_ticksPerSecond);
    return Timestamp(std::chrono::floor<std::chrono::milliseconds>(m_boot + seconds + rest));
}

} // namespace Tarnwick
