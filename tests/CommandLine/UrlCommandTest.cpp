// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/UrlCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

struct UrlCommandTest : testing::Test
{
    TestConsole test;
    PreparedPorts ports;

    ExitCode run() { return UrlCommand({.port = 3000}, test.console, ports).run(); }
};

} // namespace

TEST_F(UrlCommandTest, PrintsOneLine)
{
    ports.states[3000] = {{listeningSocket()}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "http://localhost:3000\n");
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(UrlCommandTest, PrefersLocalhostAmongAddresses)
{
    PortSocket lan = listeningSocket();
    lan.address.bytes = {192, 168, 1, 7};
    ports.states[3000] = {{lan, listeningSocket(), lan}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "http://localhost:3000\n");
}

TEST_F(UrlCommandTest, PrintsTheFirstAddressOfOthers)
{
    PortSocket first = listeningSocket();
    first.address.bytes = {192, 168, 1, 7};
    PortSocket second = listeningSocket();
    second.address.bytes = {10, 0, 0, 1};
    ports.states[3000] = {{first, second}};
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_EQ(test.output.written, "http://192.168.1.7:3000\n");
}

TEST_F(UrlCommandTest, PrintsNothingWhenNothingListens)
{
    PortSocket bound = listeningSocket();
    bound.state = PortSocket::State::Bound;
    ports.states[3000] = {{bound}};
    EXPECT_EQ(run(), ExitCode::NothingDone);
    EXPECT_EQ(test.output.written, "");
    EXPECT_EQ(test.errors.written, "Nothing listens on port 3000.\n");
}

TEST_F(UrlCommandTest, FailsWhenTheSystemRefuses)
{
    ports.failure = ListingError{EACCES, "no sockets to be had"};
    EXPECT_EQ(run(), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: no sockets to be had\n");
}

} // namespace Tarnwick
