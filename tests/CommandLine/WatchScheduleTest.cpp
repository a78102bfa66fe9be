// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchSchedule.h"

#include <gtest/gtest.h>

#include <ctime>

namespace Tarnwick {

namespace {

using namespace std::chrono_literals;

const WatchSchedule::Clock::time_point noon{std::chrono::hours(12)};

/// A schedule that had its first scan.
WatchSchedule started(std::optional<std::chrono::milliseconds> interval)
{
    WatchSchedule schedule(interval);
    schedule.noteScan(noon, 1s);
    return schedule;
}

} // namespace

TEST(WatchSchedule, ScansAtOnceAtFirst)
{
    const WatchSchedule schedule(std::chrono::hours(1));
    EXPECT_TRUE(schedule.isScanDue());
}

TEST(WatchSchedule, WaitsTheDefaultIntervalAfterTheFirstScanWhateverItCost)
{
    EXPECT_EQ(started({}).nextScan(), noon + 2s);
}

TEST(WatchSchedule, WaitsTheDefaultIntervalWhereScansCostLittle)
{
    WatchSchedule schedule = started({});
    schedule.noteScan(noon, 500us);
    EXPECT_EQ(schedule.nextScan(), noon + 2s);
}

TEST(WatchSchedule, WaitsLongerWhereScansCostMuch)
{
    WatchSchedule schedule = started({});
    schedule.noteScan(noon, 30ms);
    EXPECT_EQ(schedule.nextScan(), noon + 120s);
}

TEST(WatchSchedule, WaitsTheGivenIntervalWhateverAScanCosts)
{
    WatchSchedule schedule = started(200ms);
    schedule.noteScan(noon, 30ms);
    EXPECT_EQ(schedule.nextScan(), noon + 200ms);
}

TEST(WatchSchedule, ScansSoonAfterAChange)
{
    WatchSchedule schedule = started(3600s);
    schedule.noteScan(noon, 1ms);
    schedule.noteChange();
    EXPECT_EQ(schedule.nextScan(), noon + 4ms);
}

TEST(WatchSchedule, MeasuresWhatAScanCosts)
{
    WatchSchedule schedule(3600s);
    {
        const WatchSchedule::Scan scan(schedule);
        const std::clock_t begin = std::clock();
        while (std::clock() - begin < CLOCKS_PER_SEC / 500) {
        }
    }
    const auto end = schedule.nextScan() - 3600s;
    schedule.noteChange();
    EXPECT_GE(schedule.nextScan() - end, 4 * 2ms);
}

} // namespace Tarnwick
