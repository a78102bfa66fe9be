// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/ByteCount.h"

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

constexpr std::uint64_t kilobyte = 1024;
constexpr std::uint64_t megabyte = 1024 * kilobyte;
constexpr std::uint64_t gigabyte = 1024 * megabyte;
constexpr std::uint64_t terabyte = 1024 * gigabyte;
constexpr std::uint64_t petabyte = 1024 * terabyte;
constexpr std::uint64_t exabyte = 1024 * petabyte;

} // namespace

TEST(ByteCount, WritesZeroAsANumber)
{
    EXPECT_EQ(ByteCount::format(0), "0 bytes");
}

TEST(ByteCount, CountsBytesBelowAKilobyte)
{
    EXPECT_EQ(ByteCount::format(1), "1 byte");
    EXPECT_EQ(ByteCount::format(2), "2 bytes");
    EXPECT_EQ(ByteCount::format(1023), "1023 bytes");
}

TEST(ByteCount, WritesKilobytesWithoutDecimals)
{
    EXPECT_EQ(ByteCount::format(kilobyte), "1 KB");
    EXPECT_EQ(ByteCount::format(812 * kilobyte), "812 KB");
    EXPECT_EQ(ByteCount::format(1535), "1 KB");
}

TEST(ByteCount, RoundsHalfUp)
{
    EXPECT_EQ(ByteCount::format(1536), "2 KB");
    EXPECT_EQ(ByteCount::format(46 * megabyte + 576'716), "46.5 MB"); // just below 46.55
    EXPECT_EQ(ByteCount::format(46 * megabyte + 576'717), "46.6 MB"); // just above it
    EXPECT_EQ(ByteCount::format(gigabyte + gigabyte / 8), "1.13 GB"); // exactly 1.125
}

TEST(ByteCount, WritesMegabytesWithOneDecimalAtMost)
{
    EXPECT_EQ(ByteCount::format(megabyte), "1 MB");
    EXPECT_EQ(ByteCount::format(46 * megabyte + megabyte / 2), "46.5 MB");
    EXPECT_EQ(ByteCount::format(1023 * megabyte), "1023 MB");
}

TEST(ByteCount, WritesGigabytesAndLargerUnitsWithTwoDecimalsAtMost)
{
    EXPECT_EQ(ByteCount::format(gigabyte + gigabyte / 4), "1.25 GB");
    EXPECT_EQ(ByteCount::format(gigabyte + gigabyte / 20), "1.05 GB");
    EXPECT_EQ(ByteCount::format(gigabyte + gigabyte / 2), "1.5 GB");
    EXPECT_EQ(ByteCount::format(3 * terabyte), "3 TB");
    EXPECT_EQ(ByteCount::format(3 * petabyte + petabyte / 4), "3.25 PB");
    EXPECT_EQ(ByteCount::format(exabyte + exabyte / 2), "1.5 EB");
}

TEST(ByteCount, GoesToTheNextUnitWhenAValueRoundsUpTo1024)
{
    EXPECT_EQ(ByteCount::format(megabyte - 513), "1023 KB");
    EXPECT_EQ(ByteCount::format(megabyte - 512), "1 MB");
    EXPECT_EQ(ByteCount::format(megabyte - 1), "1 MB");
    EXPECT_EQ(ByteCount::format(gigabyte - megabyte / 10), "1023.9 MB");
    EXPECT_EQ(ByteCount::format(gigabyte - megabyte / 100), "1 GB"); // 1023.99 MB
    EXPECT_EQ(ByteCount::format(terabyte - 1), "1 TB");
    EXPECT_EQ(ByteCount::format(exabyte - 1), "1 EB");
}

TEST(ByteCount, WritesTheLargestNumber)
{
    EXPECT_EQ(ByteCount::format(UINT64_MAX), "16 EB");
}
