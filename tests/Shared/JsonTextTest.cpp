// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/JsonText.h"

#include "Shared/RawPortInfo.h"
#include "Shared/Utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>

using namespace Tarnwick;

namespace {

/// The size of a payload whose only text is @p name.
std::size_t payloadSize(const std::string &name)
{
    RawPortInfo record;
    record.processName = name;
    return RawPortInfo::encode({&record, 1}).size();
}

/// Code points of every length and of every way to be escaped.
std::string randomText(std::mt19937 &random)
{
    constexpr std::array<char32_t, 16> codePoints{0,      1,      '\b',    '\n',    0x1f, '"',
                                                  '\\',   '/',    'a',     0x7f,    0x80, 0x7ff,
                                                  0x202e, 0xfffd, 0x1f600, 0x10ffff};
    std::string text;
    for (std::size_t left = random() % 24; left > 0; --left) {
        Utf8::append(text, codePoints.at(random() % codePoints.size()));
    }
    return text;
}

} // namespace

TEST(JsonText, IsAsLargeAsThePayloadWritesIt)
{
    const std::size_t without = payloadSize({});
    for (std::uint32_t codePoint = 0; codePoint < 0x3000; ++codePoint) {
        std::string text;
        Utf8::append(text, codePoint);
        EXPECT_EQ(JsonText::size(text), payloadSize(text) - without + 2) << codePoint;
    }
    EXPECT_EQ(JsonText::size({}), 2U);
}

TEST(JsonText, StaysWhatItIsWhereItFits)
{
    EXPECT_EQ(JsonText::shortened("abcdef", 8), "abcdef");
    EXPECT_EQ(JsonText::shortened("a\nc", 6), "a\nc");
    EXPECT_EQ(JsonText::shortened("", 2), "");
}

TEST(JsonText, EndsInAnEllipsisWhereItDoesNot)
{
    EXPECT_EQ(JsonText::shortened("abcdef", 7), "ab…");
    EXPECT_EQ(JsonText::shortened("\x01\x01\x01", 17), "\x01\x01…");
    EXPECT_EQ(JsonText::shortened("abcdef", 5), "…");
    EXPECT_EQ(JsonText::shortened("abcdef", 4), "");
    EXPECT_EQ(JsonText::shortened("abcdef", 0), "");
}

TEST(JsonText, IsCutBetweenCodePointsOnly)
{
    EXPECT_EQ(JsonText::shortened("a日本語", 10), "a日…");
    EXPECT_EQ(JsonText::shortened("a日本語", 9), "a日…");
    EXPECT_EQ(JsonText::shortened("a日本語", 8), "a…");
    EXPECT_EQ(JsonText::shortened("\U0001F600\U0001F600", 9), "\U0001F600…");
    EXPECT_EQ(JsonText::shortened("\U0001F600\U0001F600", 8), "…");
}

TEST(JsonText, FitsAndIsValidWhateverTheTextAndTheRoom)
{
    std::mt19937 random(4711);
    for (int count = 0; count < 20'000; ++count) {
        const std::string text = randomText(random);
        const std::size_t room = random() % 80;
        const std::string shortened = JsonText::shortened(text, room);
        ASSERT_TRUE(Utf8::isValid(shortened));
        ASSERT_LE(JsonText::size(shortened), std::max<std::size_t>(room, 2));
        ASSERT_EQ(shortened == text, JsonText::size(text) <= room || text.empty());
    }
}
