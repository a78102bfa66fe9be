// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Program.h"

#include "tests/CommandLine/CommandFixture.h"
#include "tests/CommandLine/ServerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct ProgramTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;
    NotedEnds ends;
    PreparedPorts ports;
    PreparedProcesses processes;

    ExitCode run(std::initializer_list<const char *> arguments)
    {
        Program program(test.console, listings, ends, ports, processes,
                        [](Presentation) { return std::unique_ptr<WatchSession>(); });
        return program.run(std::span(arguments.begin(), arguments.size()));
    }
};

} // namespace

TEST_F(ProgramTest, ListsByDefault)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(run({}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("4711"));
}

TEST_F(ProgramTest, Kills)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}, std::vector<RawPortInfo>{}};
    EXPECT_EQ(run({"kill", "3000", "--yes"}), ExitCode::Done);
    EXPECT_THAT(ends.ended, testing::ElementsAre(4711));
}

TEST_F(ProgramTest, ExplainsAPort)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(run({"3000"}), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("Port 3000: node (pid 4711), tier dev"));
}

TEST_F(ProgramTest, Frees)
{
    EXPECT_EQ(run({"free", "3000", "--dry-run"}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "[free] :3000 free\n");
}

TEST_F(ProgramTest, WaitsAndPrintsUrlsWithoutAListing)
{
    ports.states[3000] = {{listeningSocket()}};
    EXPECT_EQ(run({"wait", "3000"}), ExitCode::Done);
    EXPECT_EQ(run({"url", "3000"}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "http://localhost:3000\n");
    EXPECT_EQ(listings.asked, 0);
}

TEST_F(ProgramTest, PrintsHelpWithoutALook)
{
    EXPECT_EQ(run({"--help"}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("Usage: tarnwickctl"));
    EXPECT_EQ(listings.asked, 0);
}

TEST_F(ProgramTest, ExplainsWrongUsage)
{
    EXPECT_EQ(run({"--tier", "none"}), ExitCode::Usage);
    EXPECT_THAT(test.errors.written, StartsWith("tarnwickctl: --tier: 'none' is not a tier"));
    EXPECT_THAT(test.errors.written, HasSubstr("Try 'tarnwickctl --help'."));
    EXPECT_EQ(test.output.written, "");
}

TEST_F(ProgramTest, NamesTheHelpOfTheCommandThatWasUsedWrongly)
{
    EXPECT_EQ(run({"kill", "--foo"}), ExitCode::Usage);
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: unknown option '--foo'\nTry 'tarnwickctl kill --help'.\n");
}

TEST_F(ProgramTest, ShowsWrongArgumentsHarmlessly)
{
    EXPECT_EQ(run({"\x1b[2J"}), ExitCode::Usage);
    EXPECT_THAT(test.errors.written, HasSubstr("'^[[2J' is not a command"));
}

} // namespace Tarnwick
