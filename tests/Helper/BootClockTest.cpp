// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BootClock.h"

#include <gtest/gtest.h>

#include <chrono>

#include <ctime>
#include <unistd.h>

namespace Tarnwick {
namespace {

TEST(BootClock, TellsTheTimeOfATickOfNow)
{
    timespec sinceBoot = {};
    ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    const auto perSecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    const BootClock clock;
    const auto ticks = static_cast<std::uint64_t>(sinceBoot.tv_sec) * perSecond +
                       static_cast<std::uint64_t>(sinceBoot.tv_nsec) * perSecond / 1'000'000'000U;
    const auto off = std::chrono::system_clock::now() - clock.time(ticks);
    EXPECT_GE(off, std::chrono::milliseconds(-1));
    EXPECT_LT(off, std::chrono::seconds(1));
}

TEST(BootClock, CountsATickAsTheKernelDoes)
{
    const BootClock clock;
    const auto perSecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    EXPECT_EQ(clock.time(perSecond * 3600) - clock.time(0), std::chrono::hours(1));
    EXPECT_EQ(clock.time(perSecond * 1'000'000'000) - clock.time(0),
              std::chrono::seconds(1'000'000'000));
}

TEST(BootClock, StaysAsItIsWhileTheSystemsClockIsNotSet)
{
    BootClock clock;
    const Timestamp before = clock.time(12'345);
    EXPECT_FALSE(clock.update());
    EXPECT_EQ(clock.time(12'345), before);
}

} // namespace
} // namespace Tarnwick
