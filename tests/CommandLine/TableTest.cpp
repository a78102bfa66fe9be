// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Table.h"

#include "CommandLine/TerminalText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

const Style plain(ColorDepth::None);

Table table()
{
    return Table(
        {{"PORT", Table::Alignment::Right}, {"NAME", Table::Alignment::Left, 8}, {"COMMAND"}});
}

Table::Row row(std::string port, std::string name, std::string command)
{
    return {.style = "",
            .cells = {{std::move(port), ""}, {std::move(name), ""}, {std::move(command), ""}}};
}

} // namespace

TEST(Table, AlignsItsColumns)
{
    Table listing = table();
    listing.add(row("80", "nginx", "nginx -g x"));
    listing.add(row("30000", "a", "b"));
    EXPECT_THAT(listing.lines(plain, Table::anyWidth), ElementsAre(" PORT  NAME   COMMAND",    //
                                                                   "   80  nginx  nginx -g x", //
                                                                   "30000  a      b"));
}

TEST(Table, AlignsWideAndCombiningCharacters)
{
    Table listing = table();
    listing.add(row("80", "日本", "x"));
    listing.add(row("81", "e\u0301", "y"));
    EXPECT_THAT(listing.lines(plain, Table::anyWidth), ElementsAre("PORT  NAME  COMMAND", //
                                                                   "  80  日本  x",       //
                                                                   "  81  e\u0301     y"));
}

TEST(Table, EndsItsLinesWithoutBlanks)
{
    Table listing = table();
    listing.add(row("80", "", ""));
    listing.add(row("", "x", ""));
    EXPECT_THAT(listing.lines(plain, Table::anyWidth),
                ElementsAre("PORT  NAME  COMMAND", "  80", "      x"));
}

TEST(Table, LeavesTheRoomOfAnEmptyCell)
{
    Table listing = table();
    listing.add(row("", "", "x"));
    EXPECT_THAT(listing.lines(plain, Table::anyWidth),
                ElementsAre("PORT  NAME  COMMAND", "            x"));
}

TEST(Table, CutsTheLastColumnToTheWidth)
{
    Table listing = table();
    listing.add(row("80", "nginx", "nginx -g daemon"));
    EXPECT_THAT(listing.lines(plain, 20),
                ElementsAre("PORT  NAME   COMMAND", "  80  nginx  nginx …"));
}

TEST(Table, CutsALongNameWhenThereIsAWidth)
{
    Table listing = table();
    listing.add(row("80", "a-very-long-name", "x"));
    EXPECT_THAT(listing.lines(plain, 80),
                ElementsAre("PORT  NAME      COMMAND", "  80  a-very-…  x"));
    EXPECT_THAT(listing.lines(plain, Table::anyWidth),
                ElementsAre("PORT  NAME              COMMAND", "  80  a-very-long-name  x"));
}

TEST(Table, KeepsItsColumnsAlignedWhereAWideCharacterWasCut)
{
    Table listing = table();
    listing.add(row("80", "日本語名前", "x"));
    listing.add(row("81", "12345678", "y"));
    EXPECT_THAT(listing.lines(plain, 80),
                ElementsAre("PORT  NAME      COMMAND", "  80  日本語…   x", "  81  12345678  y"));
}

TEST(Table, LeavesColumnsOutUntilTheLastHasItsRoom)
{
    Table listing({{"PORT", Table::Alignment::Right},
                   {.title = "TIER", .rank = 2},
                   {.title = "SIZE", .rank = 1},
                   {"COMMAND"}},
                  10);
    listing.add(
        {.style = "", .cells = {{"80", ""}, {"dev", ""}, {"46 MB", ""}, {"node server.js", ""}}});
    EXPECT_THAT(listing.lines(plain, 29),
                ElementsAre("PORT  TIER  SIZE   COMMAND", "  80  dev   46 MB  node serv…"));
    EXPECT_THAT(listing.lines(plain, 28),
                ElementsAre("PORT  TIER  COMMAND", "  80  dev   node server.js"));
    EXPECT_THAT(listing.lines(plain, 21), ElementsAre("PORT  COMMAND", "  80  node server.js"));
    EXPECT_THAT(listing.lines(plain, 8), ElementsAre("PORT  C…", "  80  n…"));
}

TEST(Table, LeavesNothingOutWhereTheLastColumnNeedsLessThanItsRoom)
{
    Table listing({{.title = "TIER", .rank = 1}, {"COMMAND"}}, 20);
    listing.add({.style = "", .cells = {{"dev", ""}, {"node", ""}}});
    EXPECT_THAT(listing.lines(plain, 13), ElementsAre("TIER  COMMAND", "dev   node"));
    EXPECT_THAT(listing.lines(plain, 12), ElementsAre("COMMAND", "node"));
}

TEST(Table, NeverExceedsTheWidth)
{
    Table listing = table();
    listing.add(row("80", "日本語名前", "日本語 x"));
    listing.add(row("30000", "node", "node server.js"));
    for (std::size_t width = 0; width < 40; ++width) {
        for (const std::string &line : listing.lines(plain, width)) {
            EXPECT_LE(TerminalText::width(line), width) << line;
        }
    }
}

TEST(Table, StylesCellsWithoutTheirBlanks)
{
    const Style style(ColorDepth::Palette256);
    Table listing({{"PORT", Table::Alignment::Right}, {"NAME"}});
    listing.add({.style = "<row>", .cells = {{"80", "<cell>"}, {"x", ""}}});
    EXPECT_THAT(listing.lines(style, 80), ElementsAre("\x1b[1mPORT\x1b[0m  \x1b[1mNAME\x1b[0m",
                                                      "  <row><cell>80\x1b[0m  <row>x\x1b[0m"));
}

} // namespace Tarnwick
