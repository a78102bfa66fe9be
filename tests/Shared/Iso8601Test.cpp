// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Iso8601.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace Tarnwick;
using namespace std::chrono;

namespace {

constexpr Timestamp mayMorning = sys_days{2024y / May / 1} + 9h + 30min;
constexpr Timestamp earliest = sys_days{0y / January / 1};
constexpr Timestamp latest = sys_days{9999y / December / 31} + 24h - 1ms;

void expectRejected(std::initializer_list<std::string_view> texts)
{
    for (const std::string_view text : texts) {
        EXPECT_EQ(Iso8601::parseSeconds(text), std::nullopt) << text;
    }
}

} // namespace

TEST(Iso8601, WritesWholeSecondsInUtc)
{
    EXPECT_EQ(Iso8601::formatSeconds(mayMorning), "2024-05-01T09:30:00Z");
    EXPECT_EQ(Iso8601::formatSeconds(Timestamp{}), "1970-01-01T00:00:00Z");
}

TEST(Iso8601, RoundsSecondsDown)
{
    EXPECT_EQ(Iso8601::formatSeconds(mayMorning + 999ms), "2024-05-01T09:30:00Z");
    EXPECT_EQ(Iso8601::formatSeconds(Timestamp{-1ms}), "1969-12-31T23:59:59Z");
}

TEST(Iso8601, WritesThreeDigitsOfMilliseconds)
{
    EXPECT_EQ(Iso8601::formatMilliseconds(mayMorning + 123ms), "2024-05-01T09:30:00.123Z");
    EXPECT_EQ(Iso8601::formatMilliseconds(mayMorning), "2024-05-01T09:30:00.000Z");
    EXPECT_EQ(Iso8601::formatMilliseconds(mayMorning + 7ms), "2024-05-01T09:30:00.007Z");
    EXPECT_EQ(Iso8601::formatMilliseconds(Timestamp{-1ms}), "1969-12-31T23:59:59.999Z");
}

TEST(Iso8601, WritesEveryYearOfFourDigits)
{
    EXPECT_EQ(Iso8601::formatMilliseconds(earliest), "0000-01-01T00:00:00.000Z");
    EXPECT_EQ(Iso8601::formatMilliseconds(latest), "9999-12-31T23:59:59.999Z");
}

TEST(Iso8601DeathTest, StopsTheProgramForAnotherYear)
{
    EXPECT_DEATH((void)Iso8601::formatSeconds(earliest - 1ms), "fatal: a date");
    EXPECT_DEATH((void)Iso8601::formatSeconds(latest + 1ms), "fatal: a date");
    EXPECT_DEATH((void)Iso8601::formatMilliseconds(Timestamp::max()), "fatal: a date");
    EXPECT_DEATH((void)Iso8601::formatMilliseconds(Timestamp::min()), "fatal: a date");
}

TEST(Iso8601, ReadsADateInUtc)
{
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-01T09:30:00Z"), mayMorning);
    EXPECT_EQ(Iso8601::parseSeconds("1970-01-01T00:00:00Z"), Timestamp{});
    EXPECT_EQ(Iso8601::parseSeconds("1969-12-31T23:59:59Z"), Timestamp{-1s});
}

TEST(Iso8601, ReadsANumericOffset)
{
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-01T11:30:00+02:00"), mayMorning);
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-01T04:00:00-05:30"), mayMorning);
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-01T09:30:00+00:00"), mayMorning);
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-01T09:30:00-00:00"), mayMorning);
    EXPECT_EQ(Iso8601::parseSeconds("2024-05-02T09:29:00+23:59"), mayMorning);
}

TEST(Iso8601, KnowsTheLeapYears)
{
    EXPECT_EQ(Iso8601::parseSeconds("2024-02-29T00:00:00Z"), sys_days{2024y / February / 29});
    EXPECT_EQ(Iso8601::parseSeconds("2000-02-29T00:00:00Z"), sys_days{2000y / February / 29});
    expectRejected({"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z"});
}

TEST(Iso8601, RejectsFractionsOfASecond)
{
    expectRejected({"2024-05-01T09:30:00.123Z", "2024-05-01T09:30:00.0Z", "2024-05-01T09:30:00,5Z",
                    "2024-05-01T09:30:00.Z"});
}

TEST(Iso8601, RejectsADateWithoutAZone)
{
    expectRejected({"2024-05-01T09:30:00", "2024-05-01T09:30:00 ", "2024-05-01"});
}

TEST(Iso8601, RejectsOtherFormsOfAZone)
{
    expectRejected({"2024-05-01T09:30:00z", "2024-05-01T09:30:00ZZ", "2024-05-01T09:30:00+0200",
                    "2024-05-01T09:30:00+02", "2024-05-01T09:30:00+2:00",
                    "2024-05-01T09:30:00 +02:00", "2024-05-01T09:30:00+02:00Z",
                    "2024-05-01T09:30:00+02:0x", "2024-05-01T09:30:00*02:00",
                    "2024-05-01T09:30:00\u221202:00", "2024-05-01T09:30:00UTC"});
}

TEST(Iso8601, RejectsOtherFormsOfADate)
{
    expectRejected({"", "Z", "2024", "2024-05-01 09:30:00Z", "2024-05-01t09:30:00Z",
                    "20240501T093000Z", "2024-5-1T9:30:00Z", "24-05-01T09:30:00Z",
                    "+2024-05-01T09:30:00Z", "-024-05-01T09:30:00Z", " 2024-05-01T09:30:00Z",
                    "2024-05-01T09:30:00Z ", "2024-05-01T09:30Z", "2024-W18-3T09:30:00Z",
                    "2024-05-01T09:30:00Z\n", "2024-0x-01T09:30:00Z", "1714555800"});
}

TEST(Iso8601, RejectsNumbersThatNoDateHas)
{
    expectRejected({"2024-00-01T09:30:00Z", "2024-13-01T09:30:00Z", "2024-05-00T09:30:00Z",
                    "2024-05-32T09:30:00Z", "2024-04-31T09:30:00Z", "2024-05-01T24:00:00Z",
                    "2024-05-01T09:60:00Z", "2024-05-01T09:30:60Z", "2024-05-01T09:30:00+24:00",
                    "2024-05-01T09:30:00+02:60"});
}

TEST(Iso8601, ReadsNoDateThatItCouldNotWrite)
{
    EXPECT_EQ(Iso8601::parseSeconds("0000-01-01T00:00:00Z"), earliest);
    EXPECT_EQ(Iso8601::parseSeconds("9999-12-31T23:59:59Z"), floor<seconds>(latest));
    expectRejected({"0000-01-01T00:00:00+00:01", "9999-12-31T23:59:59-00:01"});
}

TEST(Iso8601, ReadsWhatItHasWritten)
{
    for (Timestamp time = earliest; time < latest; time += 1234567891s) {
        EXPECT_EQ(Iso8601::parseSeconds(Iso8601::formatSeconds(time)), time);
    }
}
