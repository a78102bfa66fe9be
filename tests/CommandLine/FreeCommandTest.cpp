// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FreeCommand.h"

#include "tests/CommandLine/CommandFixture.h"
#include "tests/CommandLine/ServerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

namespace Tarnwick {

namespace {

using namespace std::chrono_literals;
using Outcome = PortBinding::Outcome;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

/// npm (150) runs the server (200), which has a worker (201).
struct FreeCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;
    NotedEnds ends;
    PreparedPorts ports;
    PreparedProcesses processes;
    KillCommand::Release release{.interval = 1ms, .atMost = 20ms, .restart = 5ms};

    FreeCommandTest()
    {
        test.errors.shape.isTerminal = true;
        test.console.environment.userId = PreparedProcesses::user;
        processes.add(150, 100, "npm");
        processes.add(200, 150, "node");
        processes.add(201, 200, "worker");
        listings.listings = {std::vector{record(3000, 200, "node")}, std::vector<RawPortInfo>{}};
    }

    ExitCode run(FreeArguments arguments)
    {
        return FreeCommand(std::move(arguments), test.console, {listings, ends, ports, processes},
                           release)
            .run();
    }

    ExitCode free() { return run({.ports = {3000}, .yes = true}); }
};

} // namespace

TEST_F(FreeCommandTest, EndsRunnersThenTheOwnerThenTheRest)
{
    EXPECT_EQ(free(), ExitCode::Done);
    EXPECT_THAT(processes.ended, ElementsAre(150, 201));
    EXPECT_THAT(ends.ended, ElementsAre(200));
    EXPECT_EQ(test.output.written, "[free] :3000 free\n");
    EXPECT_EQ(test.errors.written, "node (pid 200), tier dev, listens on port 3000; to be stopped "
                                   "in this order:\n"
                                   "  runner npm (pid 150): run 150\n"
                                   "  owner node (pid 200): run 200\n"
                                   "  worker worker (pid 201): run 201\n");
}

TEST_F(FreeCommandTest, PrintsTheSamePlanAndDoesNothingOnADryRun)
{
    EXPECT_EQ(run({.ports = {3000}, .dryRun = true}), ExitCode::Done);
    const std::string shown = test.output.written;
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_EQ(test.errors.written, "");
    listings.listings = {std::vector{record(3000, 200, "node")}};
    EXPECT_EQ(free(), ExitCode::Done);
    EXPECT_EQ(test.errors.written, shown);
}

TEST_F(FreeCommandTest, AsksOnceForTheWholeServer)
{
    test.input.lines = {"n"};
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::NothingDone);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_THAT(test.errors.written,
                EndsWith("Stop node (pid 200) and 2 other processes to free port 3000? [y/N] "));
    listings.listings = {std::vector{record(3000, 200, "node")}};
    test.input.lines = {"y"};
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(200));
}

TEST_F(FreeCommandTest, NeedsATerminalToAskOn)
{
    test.input.isATerminal = false;
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::Usage);
    EXPECT_EQ(listings.asked, 0);
    EXPECT_EQ(run({.ports = {3000}, .dryRun = true}), ExitCode::Done);
}

TEST_F(FreeCommandTest, LeavesAServerAloneThatItRefuses)
{
    ends.protections[200] = "the message bus of the session";
    EXPECT_EQ(free(), ExitCode::NotPermitted);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_EQ(test.output.written, "");
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: node (pid 200) is the message bus of the session.\n");
    listings.listings = {std::vector{record(3000, 200, "node")}};
    EXPECT_EQ(run({.ports = {3000}, .dryRun = true}), ExitCode::NotPermitted);
}

TEST_F(FreeCommandTest, IsDoneWithAPortThatIsFree)
{
    EXPECT_EQ(run({.ports = {3001}, .yes = true}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "[free] :3001 free\n");
    EXPECT_THAT(ends.ended, IsEmpty());
}

TEST_F(FreeCommandTest, SaysWhatElseHoldsAPort)
{
    PortSocket bound = listeningSocket();
    bound.state = PortSocket::State::Bound;
    ports.states[3001] = {{bound}};
    ports.processes[77] = {201};
    ports.outcomes = {Outcome::InUse};
    EXPECT_EQ(run({.ports = {3001}, .yes = true}), ExitCode::PortTaken);
    EXPECT_EQ(test.output.written, "[free] :3001 cannot be bound\n");
    EXPECT_THAT(test.errors.written,
                AllOf(HasSubstr("bound to 127.0.0.1:3001, not listening, held by worker (pid 201)"),
                      HasSubstr("'tarnwickctl wait --free 3001'")));
}

TEST_F(FreeCommandTest, WaitsUntilThePortCanBeBound)
{
    ports.outcomes = {Outcome::InUse, Outcome::InUse, Outcome::Possible};
    EXPECT_EQ(free(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "[free] :3000 free\n");
}

TEST_F(FreeCommandTest, SaysWhoHasThePortAgain)
{
    ports.outcomes = {Outcome::InUse};
    listings.listings = {std::vector{record(3000, 200, "node")},
                         std::vector{record(3000, 300, "node")}};
    EXPECT_EQ(free(), ExitCode::PortTaken);
    EXPECT_EQ(test.output.written, "[free] :3000 taken\n");
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is held by node (pid 300).\n"));
}

TEST_F(FreeCommandTest, LooksAgainWhereSomethingMayStartTheServer)
{
    processes.add(151, 150, "tsc");
    ports.outcomes = {Outcome::Possible, Outcome::InUse};
    EXPECT_EQ(free(), ExitCode::PortTaken);
}

TEST_F(FreeCommandTest, GoesByTheListenersOfAPortThatItMayNotBind)
{
    ports.outcomes = {Outcome::Unknown};
    EXPECT_EQ(free(), ExitCode::Done);
    listings.listings = {std::vector{record(3000, 200, "node")}};
    ports.states[3000] = {{listeningSocket()}};
    EXPECT_EQ(free(), ExitCode::PortTaken);
}

TEST_F(FreeCommandTest, SaysWhichProcessCouldNotBeStopped)
{
    processes.results[150] = KillResultCode::PermissionDenied;
    processes.results[201] = KillError{ETIMEDOUT, "process 201 has not ended"};
    EXPECT_EQ(free(), ExitCode::NotEnded);
    EXPECT_THAT(test.errors.written,
                AllOf(HasSubstr("Not allowed to stop npm (pid 150)."),
                      HasSubstr("worker (pid 201) was sent SIGKILL and has not ended.")));
}

TEST_F(FreeCommandTest, TakesAProcessThatIsGoneForEnded)
{
    ends.results[200] = KillResultCode::NotFound;
    processes.results[201] = KillResultCode::NotFound;
    EXPECT_EQ(free(), ExitCode::Done);
}

TEST_F(FreeCommandTest, FailsWhenNothingCanBeListed)
{
    listings.listings = {ListingError{ENOMEM, "no memory"}};
    EXPECT_EQ(free(), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: no memory\n");
}

} // namespace Tarnwick
