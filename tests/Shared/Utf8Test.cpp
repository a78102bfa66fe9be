// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Utf8.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

using namespace Tarnwick;
using namespace std::string_view_literals;

namespace {

constexpr std::array<std::string_view, 14> validTexts{
    ""sv,
    "a"sv,
    "a\0b"sv,
    "plain ASCII of more than eight bytes"sv,
    "\x7f"sv,
    "\xc2\x80"sv,         // U+0080
    "\xdf\xbf"sv,         // U+07FF
    "\xe0\xa0\x80"sv,     // U+0800
    "\xed\x9f\xbf"sv,     // U+D7FF
    "\xee\x80\x80"sv,     // U+E000
    "\xef\xbf\xbf"sv,     // U+FFFF
    "\xf0\x90\x80\x80"sv, // U+10000
    "\xf4\x8f\xbf\xbf"sv, // U+10FFFF
    "eight by\xe2\x82\xac and then more"sv,
};

/// An ill-formed text, and how many replacement characters stand for it.
constexpr std::array<std::pair<std::string_view, int>, 18> illFormedTexts{{
    {"\x80", 1},
    {"\xbf\xbf", 2},
    {"\xc0\x80", 2},         // overlong
    {"\xc1\xbf", 2},         // overlong
    {"\xe0\x80\x80", 3},     // overlong
    {"\xe0\x9f\xbf", 3},     // overlong
    {"\xf0\x80\x80\x80", 4}, // overlong
    {"\xf0\x8f\xbf\xbf", 4}, // overlong
    {"\xed\xa0\x80", 3},     // U+D800
    {"\xed\xbf\xbf", 3},     // U+DFFF
    {"\xf4\x90\x80\x80", 4}, // above U+10FFFF
    {"\xf5\x80\x80\x80", 4},
    {"\xff", 1},
    {"\xfe", 1},
    {"\xc2", 1},         // cut
    {"\xe2\x82", 1},     // cut
    {"\xf0\x9f\x98", 1}, // cut
    {"\xf0\x9f\xf0\x9f", 2},
}};

} // namespace

TEST(Utf8, AcceptsWellFormedTexts)
{
    for (const std::string_view text : validTexts) {
        EXPECT_TRUE(Utf8::isValid(text)) << text;
    }
}

TEST(Utf8, RejectsIllFormedTexts)
{
    for (const auto &[text, replacements] : illFormedTexts) {
        EXPECT_FALSE(Utf8::isValid(text)) << testing::PrintToString(text);
    }
}

TEST(Utf8, RejectsAnIllFormedByteAtAnyPlace)
{
    for (std::size_t place = 0; place < 20; ++place) {
        std::string text(20, 'a');
        text[place] = '\xff';
        EXPECT_FALSE(Utf8::isValid(text)) << place;
    }
}

TEST(Utf8, LeavesAWellFormedTextAsItIs)
{
    for (const std::string_view text : validTexts) {
        EXPECT_EQ(Utf8::sanitized(text), text);
    }
}

TEST(Utf8, ReplacesEachMaximalSubpartOfAnIllFormedText)
{
    for (const auto &[text, replacements] : illFormedTexts) {
        std::string expected;
        for (int i = 0; i < replacements; ++i) {
            expected += "\ufffd";
        }
        EXPECT_EQ(Utf8::sanitized(text), expected) << testing::PrintToString(text);
    }
}

TEST(Utf8, ReplacesAsTheUnicodeStandardsExampleDoes)
{
    // Table 3-8, 3-9, 3-10 and 3-11 of the standard's chapter 3.
    EXPECT_EQ(Utf8::sanitized("\xc0\xaf\xe0\x80\xbf\xf0\x81\x82\x41"),
              "\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffdA");
    EXPECT_EQ(Utf8::sanitized("\xed\xa0\x80\xed\xbf\xbf\xed\xaf\x41"),
              "\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffdA");
    EXPECT_EQ(Utf8::sanitized("\xf4\x91\x92\x93\xff\x41\x80\xbf\x42"),
              "\ufffd\ufffd\ufffd\ufffd\ufffdA\ufffd\ufffdB");
    EXPECT_EQ(Utf8::sanitized("\xe1\x80\xe2\xf0\x91\x92\xf1\xbf\x41"), "\ufffd\ufffd\ufffd\ufffdA");
}

TEST(Utf8, KeepsWhatSurroundsAnIllFormedSequence)
{
    EXPECT_EQ(Utf8::sanitized("before \xff after, at some length \xe2\x82"),
              "before \ufffd after, at some length \ufffd");
}

TEST(Utf8, MakesAnyTwoBytesValid)
{
    for (unsigned first = 0; first < 256; ++first) {
        for (unsigned second = 0; second < 256; ++second) {
            const std::string text{static_cast<char>(first), static_cast<char>(second)};
            EXPECT_TRUE(Utf8::isValid(Utf8::sanitized(text))) << first << ' ' << second;
        }
    }
}

TEST(Utf8, TakesEveryCodePointThatItAppends)
{
    for (char32_t codePoint = 0; codePoint <= 0x10ffff; ++codePoint) {
        if (codePoint == 0xd800) {
            codePoint = 0xe000;
        }
        std::string text;
        Utf8::append(text, codePoint);
        ASSERT_TRUE(Utf8::isValid(text)) << static_cast<std::uint32_t>(codePoint);
        std::string_view rest = text;
        ASSERT_EQ(Utf8::takeCodePoint(rest), codePoint);
        ASSERT_TRUE(rest.empty());
    }
}

TEST(Utf8, TakesOneCodePointAtATime)
{
    std::string_view text = "a\u00e9\u20ac\U0001f600";
    EXPECT_EQ(Utf8::takeCodePoint(text), U'a');
    EXPECT_EQ(Utf8::takeCodePoint(text), U'\u00e9');
    EXPECT_EQ(Utf8::takeCodePoint(text), U'\u20ac');
    EXPECT_EQ(Utf8::takeCodePoint(text), U'\U0001f600');
    EXPECT_TRUE(text.empty());
}

TEST(Utf8DeathTest, StopsTheProgramWhenThereIsNoCodePointToTake)
{
    std::string_view empty;
    EXPECT_DEATH((void)Utf8::takeCodePoint(empty), "fatal: a code point");
    std::string_view cut = "\xe2\x82";
    EXPECT_DEATH((void)Utf8::takeCodePoint(cut), "fatal: a code point");
}

TEST(Utf8DeathTest, StopsTheProgramForWhatIsNoScalarValue)
{
    std::string text;
    EXPECT_DEATH(Utf8::append(text, 0xd800), "fatal: only a Unicode scalar value");
    EXPECT_DEATH(Utf8::append(text, 0xdfff), "fatal: only a Unicode scalar value");
    EXPECT_DEATH(Utf8::append(text, 0x110000), "fatal: only a Unicode scalar value");
}
