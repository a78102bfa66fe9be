// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerTable.h"

#include "CommandLine/TerminalText.h"
#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> lines(const std::vector<Listener> &listeners,
                               std::size_t width = Table::anyWidth,
                               ColorDepth depth = ColorDepth::None)
{
    return ListenerTable(listeners, {.now = Timestamp(std::chrono::hours(1000)),
                                     .home = "/home/ada",
                                     .style = Style(depth)})
        .lines(width);
}

} // namespace

TEST(ListenerTable, ShowsARowForEachListener)
{
    EXPECT_THAT(
        lines(listenersFrom({record(3000, 4711, "node"), systemRecord(22, 812, "sshd")})),
        ElementsAre(
            "PORT  ADDRESS  TIER     PID  USER  PROCESS  UPTIME  MEMORY  COMMAND",
            "  22  0.0.0.0  system   812        sshd         1m   46 MB  node ~/shop/server.js",
            "3000  0.0.0.0  dev     4711        node         1m   46 MB  node ~/shop/server.js"));
}

TEST(ListenerTable, ShowsDashesForAnUnknownOwnerAndItsUserAsTheCommand)
{
    const RawPortInfo kernel{.pid = 0,
                             .port = 2049,
                             .processName = "unknown",
                             .commandPath = "",
                             .cwd = "",
                             .arguments = {},
                             .originArguments = {"unknown, of user root"},
                             .processStartedAt = Timestamp(std::chrono::hours(1000)),
                             .memoryBytes = 0};
    EXPECT_EQ(lines(listenersFrom({kernel})).at(1),
              "2049  0.0.0.0  unknown    -        unknown       -          unknown, of user root");
}

TEST(ListenerTable, ShowsHostileTextsHarmlessly)
{
    RawPortInfo hostile = record(80, 1, "no\x1b[2Jde\n");
    hostile.arguments = {"a\nb", "\u202Ecod"};
    const std::string row = lines(listenersFrom({hostile})).at(1);
    EXPECT_THAT(row, HasSubstr("no^[[2Jde^J"));
    EXPECT_THAT(row, HasSubstr("a^Jb \uFFFDcod"));
}

TEST(ListenerTable, FitsATerminal)
{
    RawPortInfo wide = record(80, 1, "名前名前名前名前名前名前名前名前名前名前");
    wide.arguments = {std::string(500, 'x')};
    for (const std::size_t width : {5U, 20U, 40U, 80U, 120U}) {
        for (const std::string &line : lines(listenersFrom({wide}), width)) {
            EXPECT_LE(TerminalText::width(line), width);
        }
    }
    EXPECT_EQ(TerminalText::width(lines(listenersFrom({wide}), 80).at(1)), 80U);
}

TEST(ListenerTable, ColorsTheTierAndDimsTheSystem)
{
    const std::string dev = Style(ColorDepth::TrueColor).accent(PortTier::Dev);
    const std::string system = Style(ColorDepth::TrueColor).accent(PortTier::System);
    const auto colored =
        lines(listenersFrom({record(3000, 4711, "node"), systemRecord(22, 1, "sshd")}), 80,
              ColorDepth::TrueColor);
    EXPECT_THAT(colored.at(1), HasSubstr("\x1b[2m" + system + "system\x1b[0m"));
    EXPECT_THAT(colored.at(1), HasSubstr("\x1b[2msshd\x1b[0m"));
    EXPECT_THAT(colored.at(2), HasSubstr(dev + "dev\x1b[0m"));
    EXPECT_THAT(colored.at(2), Not(HasSubstr("\x1b[2m")));
}

TEST(ListenerTable, CountsEachTier)
{
    EXPECT_EQ(ListenerTable::summary(listenersFrom({record(1, 1, "a")})),
              "1 listener: 0 system, 0 app, 1 dev, 0 unknown");
    EXPECT_EQ(ListenerTable::summary(
                  listenersFrom({record(1, 1, "a"), systemRecord(2, 2, "b"),
                                 systemRecord(3, 2, "b"), record(4, 4, "c", "/home/ada/c")})),
              "4 listeners: 2 system, 0 app, 1 dev, 1 unknown");
}

} // namespace Tarnwick
