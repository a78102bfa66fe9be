// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchScreen.h"

#include "CommandLine/TerminalText.h"
#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct WatchScreenTest : testing::Test
{
    TestConsole test;
    WatchScreen screen{test.console, "Nothing is listening."};

    WatchScreenTest()
    {
        test.console.environment.noColor = "1";
        test.output.shape = {.isTerminal = true, .columns = 60, .rows = 10};
    }

    static std::vector<Listener> listeners(std::int64_t count)
    {
        std::vector<RawPortInfo> records;
        for (std::int64_t number = 1; number <= count; ++number) {
            records.push_back(record(number, number, "node"));
        }
        return listenersFrom(std::move(records));
    }

    /// The lines of the frame that was drawn last, without control sequences.
    std::vector<std::string> drawn()
    {
        const std::size_t begin = test.output.written.rfind("\x1b[H") + 3;
        std::string frame = test.output.written.substr(begin);
        for (const std::string_view sequence : {"\r\n\x1b[J", "\x1b[K"}) {
            for (std::size_t at = 0; (at = frame.find(sequence)) != std::string::npos;) {
                frame.erase(at, sequence.size());
            }
        }
        std::vector<std::string> lines;
        std::size_t start = 0;
        for (std::size_t end = 0; (end = frame.find("\r\n", start)) != std::string::npos;
             start = end + 2) {
            lines.push_back(frame.substr(start, end - start));
        }
        lines.push_back(frame.substr(start));
        return lines;
    }
};

} // namespace

TEST_F(WatchScreenTest, DrawsFromTheTopAndClearsTheRest)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(test.output.written, StartsWith("\x1b[H\x1b[KPORT"));
    EXPECT_THAT(test.output.written, EndsWith("0 unknown\r\n\x1b[J"));
    EXPECT_THAT(test.output.written, Not(HasSubstr("\x1b[2J")));
}

TEST_F(WatchScreenTest, ShowsTheTableAndTheCount)
{
    EXPECT_FALSE(screen.show(listeners(2)));
    const auto lines = drawn();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[1], HasSubstr("node ~/shop/server.js"));
    EXPECT_EQ(lines[3], "2 listeners: 0 system, 0 app, 2 dev, 0 unknown");
}

TEST_F(WatchScreenTest, ShowsAllThatJustFitsWithoutScrolling)
{
    EXPECT_FALSE(screen.show(listeners(8)));
    EXPECT_EQ(drawn().size(), 10U);
    EXPECT_THAT(test.output.written, Not(HasSubstr("more")));
    EXPECT_THAT(test.output.written, EndsWith("unknown"));
}

TEST_F(WatchScreenTest, SaysHowManyMoreThereAre)
{
    EXPECT_FALSE(screen.show(listeners(9)));
    const auto lines = drawn();
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[8], "… and 2 more");
    EXPECT_THAT(lines[9], StartsWith("9 listeners"));
}

TEST_F(WatchScreenTest, NeverExceedsTheScreen)
{
    for (std::size_t rows = 1; rows < 6; ++rows) {
        for (const std::size_t columns : {1U, 7U, 33U}) {
            test.output.shape = {.isTerminal = true, .columns = columns, .rows = rows};
            EXPECT_FALSE(screen.show(listeners(20)));
            const auto lines = drawn();
            EXPECT_LE(lines.size(), rows);
            for (const std::string &line : lines) {
                EXPECT_LE(TerminalText::width(line), columns);
            }
        }
    }
}

TEST_F(WatchScreenTest, IsDrawnAgainInTheNewSize)
{
    EXPECT_FALSE(screen.show(listeners(20)));
    test.output.shape.rows = 30;
    EXPECT_FALSE(screen.redraw());
    EXPECT_EQ(drawn().size(), 22U);
}

TEST_F(WatchScreenTest, SaysWhyALookFailedBelowTheLastListing)
{
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_FALSE(screen.showFailure("no\x1b sockets"));
    EXPECT_EQ(drawn().size(), 3U);
    EXPECT_EQ(drawn().back(), "no^[ sockets");
    EXPECT_FALSE(screen.show(listeners(1)));
    EXPECT_THAT(drawn().back(), StartsWith("1 listener:"));
}

TEST_F(WatchScreenTest, SaysThatThereIsNothing)
{
    EXPECT_FALSE(screen.show({}));
    EXPECT_THAT(drawn(), testing::ElementsAre("Nothing is listening."));
}

} // namespace Tarnwick
