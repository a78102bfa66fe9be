// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WaitCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace Tarnwick {

namespace {

using namespace std::chrono_literals;
using Awaited = WaitArguments::Awaited;
using Outcome = PortBinding::Outcome;

struct WaitCommandTest : testing::Test
{
    TestConsole test;
    PreparedPorts ports;

    ExitCode run(WaitArguments arguments)
    {
        return WaitCommand(std::move(arguments), test.console, ports,
                           {.first = 1ms, .longest = 2ms})
            .run();
    }

    static PreparedPorts::Sockets listening() { return {listeningSocket()}; }
};

} // namespace

TEST_F(WaitCommandTest, EndsAtOnceWhenSomethingListens)
{
    ports.states[3000] = {listening()};
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::Done);
    EXPECT_EQ(ports.asked, 1);
    EXPECT_EQ(test.output.written + test.errors.written, "");
}

TEST_F(WaitCommandTest, ChecksUntilSomethingListens)
{
    ports.states[3000] = {{}, {}, {}, listening()};
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::Done);
    EXPECT_EQ(ports.asked, 4);
}

TEST_F(WaitCommandTest, WaitsForAllPortsTogether)
{
    // The first one is gone again when the second one comes.
    ports.states[1] = {listening(), {}, listening()};
    ports.states[2] = {{}, listening()};
    EXPECT_EQ(run({.ports = {1, 2}}), ExitCode::Done);
    EXPECT_EQ(ports.asked, 5);
}

TEST_F(WaitCommandTest, GivesUpWhenTheTimeIsOver)
{
    EXPECT_EQ(run({.ports = {3000}, .timeout = 5ms}), ExitCode::NothingDone);
    EXPECT_GT(ports.asked, 1);
    EXPECT_EQ(test.errors.written, "Nothing listens on port 3000.\n");
}

TEST_F(WaitCommandTest, ChecksOnceWithoutTime)
{
    EXPECT_EQ(run({.ports = {3000}, .timeout = 0ms}), ExitCode::NothingDone);
    EXPECT_EQ(ports.asked, 1);
}

TEST_F(WaitCommandTest, WaitsUntilThePortCanBeBound)
{
    ports.states[3000] = {listening(), {}};
    ports.outcomes = {Outcome::InUse, Outcome::InUse, Outcome::Possible};
    EXPECT_EQ(run({.ports = {3000}, .awaited = Awaited::FreePort}), ExitCode::Done);
    EXPECT_EQ(ports.asked, 4);
}

TEST_F(WaitCommandTest, TakesAPortThatItMayNotBindForFree)
{
    ports.outcomes = {Outcome::Unknown};
    EXPECT_EQ(run({.ports = {80}, .awaited = Awaited::FreePort}), ExitCode::Done);
}

TEST_F(WaitCommandTest, SaysWhyAPortIsNotFree)
{
    ports.states[1] = {listening()};
    const WaitArguments first{.ports = {1}, .awaited = Awaited::FreePort, .timeout = 0ms};
    EXPECT_EQ(run(first), ExitCode::NothingDone);
    EXPECT_EQ(test.errors.written, "Something listens on port 1.\n");
    ports.outcomes = {Outcome::InUse};
    const WaitArguments second{.ports = {2}, .awaited = Awaited::FreePort, .timeout = 0ms};
    EXPECT_EQ(run(second), ExitCode::NothingDone);
    EXPECT_THAT(test.errors.written,
                testing::HasSubstr("Nothing listens on port 2, but it cannot be bound yet"));
}

TEST_F(WaitCommandTest, FailsWhenTheSystemRefuses)
{
    ports.failure = ListingError{EACCES, "no sockets to be had"};
    EXPECT_EQ(run({.ports = {3000}}), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: no sockets to be had\n");
}

} // namespace Tarnwick
