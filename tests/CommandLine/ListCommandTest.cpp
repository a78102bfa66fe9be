// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

struct ListCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;

    ExitCode run(ListArguments arguments = {})
    {
        return ListCommand(std::move(arguments), test.console, listings).run();
    }
};

} // namespace

TEST_F(ListCommandTest, ShowsATableAndACount)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written,
              "PORT  TIER   PID  PROCESS  UPTIME  MEMORY  COMMAND\n"
              "3000  dev   4711  node         1m   46 MB  node ~/shop/server.js\n"
              "1 listener: 0 system, 0 app, 1 dev, 0 unknown\n");
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(ListCommandTest, CutsEveryLineToTheWidthOfATerminal)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.shape = {.isTerminal = true, .columns = 20};
    test.console.environment.noColor = "1";
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "PORT  TIER   PID  P…\n"
                                   "3000  dev   4711  n…\n"
                                   "1 listener: 0 syste…\n");
}

TEST_F(ListCommandTest, ShowsAServerOnBothFamiliesAsOneRowOfTheTableButTwoOfTheJson)
{
    listings.listings = {std::vector{record(3000, 4711, "node"), record(3000, 4711, "node")}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("1 listener: "));
    test.output.written.clear();
    EXPECT_EQ(run({.selection = {}, .json = true}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("},\n{"));
}

TEST_F(ListCommandTest, ShowsOnlyWhatIsSelected)
{
    listings.listings = {std::vector{record(3000, 4711, "node"), systemRecord(22, 1, "sshd")}};
    EXPECT_EQ(run({.selection = {.tiers = {PortTier::System}, .search = {}, .port = {}}}),
              ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("sshd"));
    EXPECT_THAT(test.output.written, Not(HasSubstr("4711")));
    EXPECT_THAT(test.output.written, EndsWith("1 listener: 1 system, 0 app, 0 dev, 0 unknown\n"));
}

TEST_F(ListCommandTest, SaysThatNothingIsListening)
{
    EXPECT_EQ(run(), ExitCode::NothingDone);
    EXPECT_EQ(test.output.written, "");
    EXPECT_EQ(test.errors.written, "Nothing is listening.\n");
}

TEST_F(ListCommandTest, WritesAnEmptyArrayWhenNothingMatches)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(run({.selection = {.tiers = {}, .search = {}, .port = 1}, .json = true}),
              ExitCode::NothingDone);
    EXPECT_EQ(test.output.written, "[]\n");
    EXPECT_EQ(test.errors.written, "Nothing listens on port 1.\n");
}

TEST_F(ListCommandTest, FailsWithTheReasonOfTheListing)
{
    listings.listings = {ListingError{.code = 1, .message = "the sockets cannot be listed"}};
    EXPECT_EQ(run({.selection = {}, .json = true}), ExitCode::Failed);
    EXPECT_EQ(test.output.written, "");
    EXPECT_EQ(test.errors.written, "tarnwickctl: the sockets cannot be listed\n");
}

TEST_F(ListCommandTest, CutsLinesOnATerminalOnly)
{
    RawPortInfo wordy = record(3000, 4711, "node");
    wordy.arguments = {std::string(300, 'x')};
    listings.listings = {std::vector{wordy}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr(std::string(300, 'x')));

    test.output.written.clear();
    test.output.shape = {.isTerminal = true, .columns = 60, .rows = 24};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("…"));
    EXPECT_THAT(test.output.written, HasSubstr("\x1b["));
}

TEST_F(ListCommandTest, FailsWhenTheOutputCannotBeWritten)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.error = std::make_error_code(std::errc::no_space_on_device);
    EXPECT_EQ(run(), ExitCode::Failed);
    EXPECT_THAT(test.errors.written, HasSubstr("No space left on device"));
}

} // namespace Tarnwick
