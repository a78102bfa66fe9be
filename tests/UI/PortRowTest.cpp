// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PortRow.h"
#include "tests/Support/SampleEntry.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <utility>

using namespace Tarnwick;

namespace {

class APortRow : public testing::Test
{
protected:
    [[nodiscard]] PortRow row() const
    {
        return {std::make_shared<const PortEntry>(entry), "/home/ann"};
    }

    PortEntry entry = *sampleEntry("node", 812, 3000);
};

} // namespace

TEST_F(APortRow, ShowsThePortAndTheProcessIdentifier)
{
    EXPECT_EQ(row().port(), QStringLiteral(":3000"));
    EXPECT_EQ(row().pid(), QStringLiteral("pid 812"));
}

TEST_F(APortRow, NamesEachTierInCapitals)
{
    const std::pair<PortTier, const char *> names[] = {{PortTier::System, "SYSTEM"},
                                                       {PortTier::App, "APP"},
                                                       {PortTier::Dev, "DEV"},
                                                       {PortTier::Unknown, "UNKNOWN"}};
    for (const auto &[tier, name] : names) {
        entry.tier = tier;
        EXPECT_EQ(row().tier(), QLatin1String(name));
        EXPECT_EQ(row().isSystem(), tier == PortTier::System);
    }
}

TEST_F(APortRow, AddsTheProcessWhereTheDescriptionSaysSomethingElse)
{
    entry.description = "PostgreSQL";
    entry.process = "postgres";
    EXPECT_EQ(row().processSuffix(), QStringLiteral("· postgres"));
}

TEST_F(APortRow, DoesNotRepeatAProcessThatDiffersInCaseOnly)
{
    entry.description = "Node";
    EXPECT_EQ(row().processSuffix(), QString());
    entry.description = "ÉCOLE";
    entry.process = "école";
    EXPECT_EQ(row().processSuffix(), QString());
}

TEST_F(APortRow, ShowsWhatTheUserTyped)
{
    entry.originArguments = {"", "npm", "/home/ann/dev", "/home/ann", "/home/anna"};
    EXPECT_EQ(row().command(), QStringLiteral("npm ~/dev ~ /home/anna"));
}

TEST_F(APortRow, ShowsTheExecutableWhereThereAreNoArguments)
{
    entry.originArguments = {"", ""};
    entry.command = "/home/ann/bin/node";
    EXPECT_EQ(row().command(), QStringLiteral("/home/ann/bin/node"));
    entry.command = "";
    EXPECT_EQ(row().command(), QString());
}

TEST_F(APortRow, ShowsAFolderThatTellsSomething)
{
    entry.command = "/usr/bin/node";
    entry.cwd = "/home/ann/site";
    EXPECT_EQ(row().folder(), QStringLiteral("in ~/site"));
    for (const char *folder : {"", "/", "/usr/bin"}) {
        entry.cwd = folder;
        EXPECT_EQ(row().folder(), QString()) << folder;
    }
}

TEST_F(APortRow, ShowsMemoryOnlyWhenItIsKnown)
{
    EXPECT_EQ(row().memory(), QString());
    entry.memoryBytes = 1'572'864;
    EXPECT_EQ(row().memory(), QStringLiteral("1.5 MB"));
}

TEST_F(APortRow, TakesAnImpossibleMemoryFigureForAProgrammingError)
{
    entry.memoryBytes = std::numeric_limits<std::uint64_t>::max();
    EXPECT_DEATH(static_cast<void>(row()), "63 bits");
}

TEST_F(APortRow, ShowsTheDetailOfItsConfirmation)
{
    entry.port = 5432;
    entry.process = "postgres";
    EXPECT_EQ(row().killDetail(), QStringLiteral(":5432 · postgres · PID 812"));
}

TEST_F(APortRow, ShowsControlCharactersAsBlanks)
{
    entry.description = "two\nlines";
    entry.process = "a\tb\x1b[31m";
    entry.originArguments = {"sh", "-c", "a\r\nb\u2028c"};
    EXPECT_EQ(row().description(), QStringLiteral("two lines"));
    EXPECT_EQ(row().processSuffix(), QStringLiteral("· a b [31m"));
    EXPECT_EQ(row().command(), QStringLiteral("sh -c a  b c"));
}

TEST_F(APortRow, ShowsMarksThatWouldChangeTheOrderOfWritingAsBlanks)
{
    entry.process = "a\u202e0001 DIP\u2066\u200f\u061c";
    entry.description = "\u202dtxt\u2069\u200e";
    EXPECT_EQ(row().killDetail(), QStringLiteral(":3000 · a 0001 DIP    · PID 812"));
    EXPECT_EQ(row().description(), QStringLiteral(" txt  "));
}

TEST_F(APortRow, KeepsTheOrderBesideANameThatIsWrittenFromTheRight)
{
    entry.process = "שרת";
    EXPECT_EQ(row().killDetail(), QStringLiteral(":3000 · \u2068שרת\u2069 · PID 812"));
    entry.process = "مخدم";
    EXPECT_EQ(row().killDetail(), QStringLiteral(":3000 · \u2068مخدم\u2069 · PID 812"));
    entry.process = "größe";
    EXPECT_EQ(row().killDetail(), QStringLiteral(":3000 · größe · PID 812"));
}

TEST_F(APortRow, TellsAssistiveTechnologyWhatListens)
{
    entry.originArguments = {"npm", "start"};
    entry.cwd = "/home/ann/site";
    EXPECT_EQ(row().accessibleName(), QStringLiteral("node, port 3000, dev"));
    EXPECT_EQ(row().accessibleDescription(), QStringLiteral("npm start in ~/site"));
    entry.cwd = "";
    EXPECT_EQ(row().accessibleDescription(), QStringLiteral("npm start"));
}

TEST_F(APortRow, NamesThePaneOfTheSettingsWhereThereIsOne)
{
    EXPECT_EQ(row().settingsLink(), QString());
    entry.settingsLink = "Sharing";
    EXPECT_EQ(row().settingsLink(), QStringLiteral("Sharing"));
}

TEST_F(APortRow, IsTheSameForTheSameEntryOnly)
{
    const PortRow first = row();
    EXPECT_TRUE(first == row());
    entry.id = Uuid::random();
    EXPECT_FALSE(first == row());
    EXPECT_FALSE(first == PortRow());
    EXPECT_TRUE(PortRow() == PortRow());
}

TEST_F(APortRow, ShowsNothingWithoutAnEntry)
{
    const PortRow none;
    for (const QString &text : {none.port(), none.tier(), none.description(), none.processSuffix(),
                                none.command(), none.folder(), none.pid(), none.memory(),
                                none.settingsLink(), none.killDetail(), none.accessibleName()}) {
        EXPECT_EQ(text, QString());
    }
    EXPECT_FALSE(none.isSystem());
}
