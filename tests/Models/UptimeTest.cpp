// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Uptime.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string_view>

using namespace Tarnwick;
using namespace std::chrono_literals;

namespace {

constexpr Timestamp since{1'700'000'000'000ms};
constexpr auto day = 24h;

std::string after(std::chrono::milliseconds elapsed)
{
    return Uptime::format(since, since + elapsed);
}

} // namespace

TEST(Uptime, IsZeroSecondsAtTheStart)
{
    EXPECT_EQ(after(0s), "0s");
}

TEST(Uptime, IsZeroSecondsForAStartInTheFuture)
{
    EXPECT_EQ(after(-1s), "0s");
    EXPECT_EQ(after(-1ms), "0s");
    EXPECT_EQ(after(-400 * day), "0s");
}

TEST(Uptime, CountsWholeSecondsBelowAMinute)
{
    EXPECT_EQ(after(999ms), "0s");
    EXPECT_EQ(after(1s), "1s");
    EXPECT_EQ(after(59s), "59s");
    EXPECT_EQ(after(59'999ms), "59s");
}

TEST(Uptime, CountsWholeMinutesBelowAnHour)
{
    EXPECT_EQ(after(60s), "1m");
    EXPECT_EQ(after(119s), "1m");
    EXPECT_EQ(after(3599s), "59m");
}

TEST(Uptime, CountsHoursAndMinutesBelowADay)
{
    EXPECT_EQ(after(1h), "1h");
    EXPECT_EQ(after(1h + 59s), "1h");
    EXPECT_EQ(after(1h + 1min), "1h 1m");
    EXPECT_EQ(after(2h - 1s), "1h 59m");
    EXPECT_EQ(after(2h + 5min), "2h 5m");
    EXPECT_EQ(after(day - 1s), "23h 59m");
}

TEST(Uptime, CountsDaysAndHoursFromADayOn)
{
    EXPECT_EQ(after(day), "1d");
    EXPECT_EQ(after(day + 59min + 59s), "1d");
    EXPECT_EQ(after(day + 1h), "1d 1h");
    EXPECT_EQ(after(2 * day + 23h), "2d 23h");
    EXPECT_EQ(after(3 * day + 4h), "3d 4h");
}

TEST(Uptime, KnowsNoLargerUnitThanDays)
{
    EXPECT_EQ(after(400 * day + 5h), "400d 5h");
    EXPECT_EQ(after(1'000'000 * day), "1000000d");
}

TEST(Uptime, StopsTheProgramForAnIntervalThatDoesNotFit)
{
    EXPECT_DEATH((void)Uptime::format(Timestamp::min(), Timestamp::max()), "fatal: an uptime");
}
