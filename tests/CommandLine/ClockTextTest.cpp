// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ClockText.h"

#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <ctime>

namespace Tarnwick {

TEST(ClockText, ShowsTheTimeOfTheUsersZone)
{
    // 2026-05-01T09:30:00Z
    const Timestamp time{std::chrono::seconds(1'777'627'800)};
    {
        const ScopedEnvironment zone("TZ", "UTC0");
        tzset();
        EXPECT_EQ(ClockText::time(time + std::chrono::milliseconds(999)), "09:30:00");
        EXPECT_EQ(ClockText::dateAndTime(time), "2026-05-01 09:30:00");
    }
    {
        const ScopedEnvironment zone("TZ", "EAST-2");
        tzset();
        EXPECT_EQ(ClockText::time(time), "11:30:00");
    }
    tzset();
}

} // namespace Tarnwick
