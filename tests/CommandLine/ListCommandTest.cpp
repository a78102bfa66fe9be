// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct ListCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;

    ListCommandTest()
    {
        listings.detail = [](const RawPortInfo &) {
            ListenerDetails details = at("127.0.0.1");
            details.user = "ada";
            details.userId = 1000;
            return details;
        };
    }

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
              "PORT  ADDRESS    TIER   PID  USER  PROCESS  UPTIME  MEMORY  COMMAND\n"
              "3000  127.0.0.1  dev   4711  ada   node         1m   46 MB  node ~/shop/server.js\n"
              "1 listener: 0 system, 0 app, 1 dev, 0 unknown\n");
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(ListCommandTest, CutsEveryLineToTheWidthOfATerminal)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.shape = {.isTerminal = true, .columns = 20};
    test.console.environment.noColor = "1";
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "PORT   PID  PROCESS\n"
                                   "3000  4711  node\n"
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
    EXPECT_EQ(run({.selection = {.tiers = {PortTier::System}, .search = {}, .ports = {}}}),
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
    EXPECT_EQ(run({.selection = {.tiers = {}, .search = {}, .ports = {{1, 1}}}, .json = true}),
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

TEST_F(ListCommandTest, ShowsTheAddressesOfAServerInOneRow)
{
    listings.listings = {std::vector{record(3000, 4711, "node"), record(3000, 4711, "node")}};
    bool isFirst = true;
    listings.detail = [&isFirst](const RawPortInfo &) {
        return std::exchange(isFirst, false) ? at("127.0.0.1") : at("::1");
    };
    EXPECT_EQ(run({.columns = {Column::Port, Column::Address}}), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("PORT  ADDRESS\n3000  127.0.0.1, ::1\n1 listener"));
}

TEST_F(ListCommandTest, TellsWhoseConnectionsAnotherServerGets)
{
    listings.listings = {std::vector{record(5173, 811, "node"), record(5173, 812, "vite")}};
    listings.detail = [](const RawPortInfo &reported) {
        return reported.pid == 811 ? at("127.0.0.1") : at("::1");
    };
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(
        test.output.written,
        HasSubstr("\nPort 5173: localhost is answered by vite (pid 812) at ::1, not by node "
                  "(pid 811) at 127.0.0.1.\n2 listeners"));
    test.output.written.clear();
    EXPECT_EQ(run({.json = true}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr(R"("shadowedBy":[{"target":"localhost","pid":812,)"
                                               R"("processName":"vite","address":"::1"}])"));
}

TEST_F(ListCommandTest, TellsOfAShadowWhereItsServerIsNotShown)
{
    listings.listings = {std::vector{record(5173, 811, "node"), record(5173, 812, "vite")}};
    listings.detail = [](const RawPortInfo &reported) {
        return reported.pid == 811 ? at("127.0.0.1") : at("::1");
    };
    EXPECT_EQ(run({.selection = {.excluded = {"vite"}}}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("by vite (pid 812)"));
    EXPECT_THAT(test.output.written, HasSubstr("1 listener: "));
}

TEST_F(ListCommandTest, SortsTheRowsOfTheTableAndTheObjectsOfTheJson)
{
    listings.listings = {std::vector{record(1, 30, "a"), record(2, 10, "b"), record(3, 20, "c")}};
    const std::vector<SortKey> order{{Column::Pid, true}};
    EXPECT_EQ(run({.columns = {Column::Pid}, .order = order}), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("PID\n 30\n 20\n 10\n"));
    test.output.written.clear();
    EXPECT_EQ(run({.json = true, .order = order}), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("[\n{\"pid\":30,"));
    EXPECT_THAT(test.output.written, HasSubstr("\n{\"pid\":10,"));
}

TEST_F(ListCommandTest, WritesEachProcessIdentifierOnce)
{
    listings.listings = {std::vector{record(1, 42, "a"), record(2, 7, "b"), record(3, 42, "a")}};
    EXPECT_EQ(run({.pidsOnly = true}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "42\n7\n");
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(ListCommandTest, LeavesUnknownOwnersOutOfTheProcessIdentifiersWithAMessage)
{
    listings.listings = {std::vector{record(1, 0, "unknown"), record(2, 7, "b")}};
    EXPECT_EQ(run({.pidsOnly = true}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "7\n");
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: The owner of 1 socket is unknown. Running as root may help.\n");
    test.output.written.clear();
    EXPECT_EQ(run({.selection = {.ports = {{1, 1}}}, .pidsOnly = true}), ExitCode::NothingDone);
    EXPECT_EQ(test.output.written, "");
}

TEST_F(ListCommandTest, PutsTheRowsOfAProjectUnderItsHeading)
{
    RawPortInfo elsewhere = record(22, 1, "sshd");
    elsewhere.cwd = "/";
    listings.projects["/home/ada/shop"] = {.folder = "/home/ada/shop", .branch = "main"};
    listings.listings = {std::vector{elsewhere, record(3000, 2, "api"), record(5173, 3, "web")}};
    EXPECT_EQ(run({.columns = {Column::Port, Column::Process, Column::Project, Column::Branch},
                   .grouping = Grouping::Project}),
              ExitCode::Done);
    EXPECT_EQ(test.output.written, "PORT  PROCESS  PROJECT  BRANCH\n"
                                   "~/shop (main)\n"
                                   "3000  api      shop     main\n"
                                   "5173  web      shop     main\n"
                                   "other\n"
                                   "  22  sshd\n"
                                   "3 listeners: 0 system, 0 app, 3 dev, 0 unknown\n");
}

TEST_F(ListCommandTest, ShowsTheParentWhereItIsWanted)
{
    listings.ancestry[2] = {{.pid = 20, .name = "npm"}, {.pid = 1, .name = "init"}};
    listings.listings = {std::vector{record(3000, 2, "api")}};
    EXPECT_EQ(run({.columns = {Column::Port, Column::Parent}}), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("PORT  PARENT\n3000  npm 20\n"));
}

TEST_F(ListCommandTest, WritesWhatIsAroundTheOwnerAsJson)
{
    listings.ancestry[2] = {{.pid = 20, .name = "npm"}, {.pid = 1, .name = "init"}};
    listings.projects["/home/ada/shop"] = {.folder = "/home/ada/shop", .branch = "main"};
    listings.listings = {std::vector{record(3000, 2, "api")}};
    for (const std::vector<SortKey> &order :
         {std::vector<SortKey>{}, std::vector<SortKey>{{Column::Port, false}}}) {
        test.output.written.clear();
        EXPECT_EQ(run({.json = true, .order = order}), ExitCode::Done);
        EXPECT_THAT(test.output.written,
                    HasSubstr(R"(,"address":"127.0.0.1","exposed":false,"user":"ada",)"
                              R"("userId":1000,"project":"/home/ada/shop","branch":"main",)"
                              R"("ancestors":[{"pid":20,"name":"npm"},{"pid":1,"name":"init"}]})"));
    }
}

TEST_F(ListCommandTest, WritesTheSameJsonWhetherItIsSortedOrNot)
{
    listings.listings = {std::vector{record(3000, 3, "c"), record(3000, 2, "b"),
                                     record(22, 0, "unknown"), record(22, 0, "cups.socket")}};
    EXPECT_EQ(run({.json = true}), ExitCode::Done);
    const std::string visited = std::exchange(test.output.written, {});
    EXPECT_EQ(run({.json = true, .order = {{Column::Port, false}}}), ExitCode::Done);
    EXPECT_EQ(test.output.written, visited);
}

} // namespace Tarnwick
