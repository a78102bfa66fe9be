// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/HourlyLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using testing::ElementsAre;

TEST(HourlyLogTest, WritesEachKindOnceInAnHour)
{
    std::vector<std::string> lines;
    HourlyLog::Clock::time_point now{};
    HourlyLog log([&lines](std::string_view line) { lines.emplace_back(line); },
                  [&now] { return now; });
    log.log("one", " first");
    log.log("one", " again");
    log.log("two");
    now += std::chrono::minutes(59);
    log.log("one", " still");
    now += std::chrono::minutes(1);
    log.log("one", " later");
    now += std::chrono::minutes(30);
    log.log("one", " too soon");
    EXPECT_THAT(lines, ElementsAre("one first", "two", "one later"));
}

TEST(HourlyLogTest, ToleratesThatNobodyReads)
{
    HourlyLog log(nullptr);
    log.log("one");
}

} // namespace
} // namespace Tarnwick
