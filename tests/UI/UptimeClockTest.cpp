// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/UptimeClock.h"
#include "tests/Support/EventLoop.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Tarnwick;

namespace {

class AnUptimeClock : public testing::Test
{
protected:
    AnUptimeClock()
    {
        QObject::connect(&clock, &UptimeClock::ticked, &clock,
                         [this](double now) { ticks.push_back(now); });
    }

    UptimeClock clock;
    std::vector<double> ticks;
};

} // namespace

TEST_F(AnUptimeClock, StandsStillUntilItIsStarted)
{
    EXPECT_FALSE(clock.isRunning());
}

TEST_F(AnUptimeClock, TicksAtOnceAndThenOnceASecond)
{
    clock.setRunning(true);
    ASSERT_EQ(ticks.size(), 1U);
    ASSERT_TRUE(await([this] { return ticks.size() == 3; }));
    EXPECT_NEAR(ticks[2] - ticks[0], 2'000, 900);
}

TEST_F(AnUptimeClock, IsStoppedBeforeItsNextTick)
{
    UptimeClock other;
    int otherTicks = 0;
    QObject::connect(&other, &UptimeClock::ticked, &other, [&otherTicks] { ++otherTicks; });
    clock.setRunning(true);
    clock.setRunning(false);
    other.setRunning(true);
    ASSERT_TRUE(await([&otherTicks] { return otherTicks == 2; }));
    EXPECT_FALSE(clock.isRunning());
    EXPECT_EQ(ticks.size(), 1U);
}

TEST_F(AnUptimeClock, WritesUptimesAsTheRestOfTheProgram)
{
    EXPECT_EQ(UptimeClock::format(0, 59'999), QStringLiteral("59s"));
    EXPECT_EQ(UptimeClock::format(0, 7'500'000), QStringLiteral("2h 5m"));
    EXPECT_EQ(UptimeClock::format(1'000, 0), QStringLiteral("0s"));
}
