// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TerminalText.h"

#include <gtest/gtest.h>

namespace Tarnwick {

TEST(TerminalText, LeavesPrintingTextAsItIs)
{
    for (const char *text : {"", "node server.js ~", "Größe", "日本語", "e\u0301", "😀", "\uE000"}) {
        EXPECT_EQ(TerminalText::printable(text), text);
    }
}

TEST(TerminalText, ShowsControlCharactersInCaretNotation)
{
    EXPECT_EQ(TerminalText::printable("a\x1b[2Jb\r\n\t\x07\x7f"), "a^[[2Jb^M^J^I^G^?");
    EXPECT_EQ(TerminalText::printable(std::string_view("\0", 1)), "^@");
}

class HostileCodePoints : public testing::TestWithParam<const char *>
{
};

TEST_P(HostileCodePoints, AreReplaced)
{
    EXPECT_EQ(TerminalText::printable(std::string("a") + GetParam() + "b"), "a\uFFFDb");
}

INSTANTIATE_TEST_SUITE_P(TerminalText, HostileCodePoints,
                         testing::Values("\u0080", "\u009B", "\u009F", "\u00AD", "\u061C", "\u200B",
                                         "\u200D", "\u200E", "\u202A", "\u202E", "\u2028", "\u2029",
                                         "\u2066", "\u2069", "\uFEFF", "\uFFF9", "\uFFFF", "\u3164",
                                         "\U000E0041", "\U0010FFFF", "\u0378", "\xff", "\xc3"));

TEST(TerminalText, LeavesOutVariationSelectors)
{
    EXPECT_EQ(TerminalText::printable("\u2764\uFE0F!\U000E0100"), "\u2764!");
}

TEST(TerminalText, CountsTheColumnsOfEachCharacter)
{
    EXPECT_EQ(TerminalText::width(""), 0U);
    EXPECT_EQ(TerminalText::width("node"), 4U);
    EXPECT_EQ(TerminalText::width("Größe"), 5U);
    EXPECT_EQ(TerminalText::width("日本語"), 6U);
    EXPECT_EQ(TerminalText::width("e\u0301"), 1U);
    EXPECT_EQ(TerminalText::width("😀"), 2U);
    EXPECT_EQ(TerminalText::width("…\uFFFD"), 2U);
}

TEST(TerminalText, CutsOnlyWhatIsTooWide)
{
    EXPECT_EQ(TerminalText::cut("server", 6), "server");
    EXPECT_EQ(TerminalText::cut("server", 5), "serv…");
    EXPECT_EQ(TerminalText::cut("server", 1), "…");
    EXPECT_EQ(TerminalText::cut("server", 0), "");
}

TEST(TerminalText, BreaksLinesAtBlanksWherePossible)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(TerminalText::wrapped("", 5), Lines{""});
    EXPECT_EQ(TerminalText::wrapped("abcde", 5), Lines{"abcde"});
    EXPECT_EQ(TerminalText::wrapped("ab cd ef", 5), (Lines{"ab cd", "ef"}));
    EXPECT_EQ(TerminalText::wrapped("ab cdef", 5), (Lines{"ab", "cdef"}));
    EXPECT_EQ(TerminalText::wrapped("abcdefg hi", 5), (Lines{"abcde", "fg hi"}));
    EXPECT_EQ(TerminalText::wrapped("日本語", 5), (Lines{"日本", "語"}));
}

TEST(TerminalText, CutsBetweenCharactersOfAnyWidth)
{
    EXPECT_EQ(TerminalText::cut("日本語", 6), "日本語");
    EXPECT_EQ(TerminalText::cut("日本語", 5), "日本…");
    EXPECT_EQ(TerminalText::cut("日本語", 4), "日…");
    EXPECT_EQ(TerminalText::cut("e\u0301tude", 3), "e\u0301t…");
}

} // namespace Tarnwick
