// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Number.h"

#include <gtest/gtest.h>

namespace Tarnwick {

TEST(Number, IsReadInPlainDecimal)
{
    EXPECT_EQ(parseNumber("0", 0, 9), 0);
    EXPECT_EQ(parseNumber("0080", 1, 99), 80);
    EXPECT_EQ(parseNumber("-3", -9, 9), -3);
}

TEST(Number, IsAbsentFromAnyOtherText)
{
    for (const char *text :
         {"", " 1", "1 ", "+1", "0x1", "1e0", "one", "1.0", "12345678901234567890"}) {
        EXPECT_EQ(parseNumber(text, 0, 9), std::nullopt) << text;
    }
}

TEST(Number, IsAbsentOutsideItsRange)
{
    EXPECT_EQ(parseNumber("0", 1, 9), std::nullopt);
    EXPECT_EQ(parseNumber("10", 1, 9), std::nullopt);
    EXPECT_EQ(parseNumberAs<std::int32_t>("2147483648", 1, 9), std::nullopt);
}

} // namespace Tarnwick
