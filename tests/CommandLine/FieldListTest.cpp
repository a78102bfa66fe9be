// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FieldList.h"

#include "CommandLine/Table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

const Style plain(ColorDepth::None);

} // namespace

TEST(FieldList, PutsTextsBehindTheirNames)
{
    FieldList fields;
    fields.add("Folder", "~/shop");
    fields.add("Unit", "");
    fields.add("Tier", "dev");
    fields.add("", "by a rule");
    EXPECT_THAT(fields.lines(plain, Table::anyWidth),
                ElementsAre("  Folder     ~/shop", "  Tier       dev", "             by a rule"));
}

TEST(FieldList, WrapsTextsAtBlanks)
{
    FieldList fields;
    fields.add("Command", "node server.js --port 3000");
    EXPECT_THAT(fields.lines(plain, 28),
                ElementsAre("  Command    node server.js", "             --port 3000"));
}

TEST(FieldList, CutsWhatDoesNotFit)
{
    FieldList fields;
    fields.add("Command", "aaaaaaaaaaaaaaaa bbbb");
    fields.add("Runs as", "1 2222222222 3333333333 4444444444 5555555555 6");
    EXPECT_THAT(fields.lines(plain, 23),
                ElementsAre("  Command    aaaaaaaaa…", "  Runs as    1", "             2222222222",
                            "             3333333333", "             444444444…"));
}

TEST(FieldList, StylesNamesAndTexts)
{
    FieldList fields;
    fields.add("Tier", "dev", "\x1b[33m");
    EXPECT_THAT(fields.lines(Style(ColorDepth::Palette256), 80),
                ElementsAre("  \x1b[1mTier\x1b[0m       \x1b[33mdev\x1b[0m"));
}

} // namespace Tarnwick
