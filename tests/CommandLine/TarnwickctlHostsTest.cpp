// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/CommandLine/SshServer.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class TarnwickctlHostsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_server) {
            GTEST_SKIP() << "there is no sshd that this user can start";
        }
        const char *const path = std::getenv("PATH");
        m_setup.environment = {"PATH=" + m_server->clientFolder().string() + ":" +
                                   (path == nullptr ? "/usr/bin:/bin" : path),
                               "TERM=xterm", "NO_COLOR=1"};
    }

    [[nodiscard]] static std::vector<std::string> tarnwickctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), std::string(programPath));
        return arguments;
    }

    [[nodiscard]] RunningProgram::Result runTarnwickctl(std::vector<std::string> arguments) const
    {
        return run(tarnwickctl(std::move(arguments)), m_setup);
    }

    std::unique_ptr<SshServer> m_server = SshServer::start();
    RunningProgram::Setup m_setup;
    ListeningChild m_child;
};

TEST_F(TarnwickctlHostsTest, ListsSeveralMachinesInOneTable)
{
    const auto result =
        runTarnwickctl({"--port", m_child.portText(), "--host", "shop.example", "--host",
                        "closed.example", "--host", "bakery.example", "--sort", "-host"});
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_THAT(result.output, HasSubstr("HOST"));
    EXPECT_THAT(result.output, HasSubstr("shop.example "));
    EXPECT_LT(result.output.find("shop.example"), result.output.find("bakery.example"));
    EXPECT_THAT(result.output, HasSubstr("2 listeners: 0 system, 0 app, 0 dev, 2 unknown\n"));
    EXPECT_THAT(result.errors, HasSubstr("tarnwickctl: closed.example: ssh has failed.\n"));
}

TEST_F(TarnwickctlHostsTest, ListsSeveralMachinesInOneArray)
{
    const auto result = runTarnwickctl({"list", "--json", "--port", m_child.portText(), "--host",
                                        "shop.example", "--host", "bakery.example"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, StartsWith(R"([
{"host":"shop.example","pid":)" + m_child.pidText()));
    EXPECT_THAT(result.output, HasSubstr("},\n{\"host\":\"bakery.example\",\"pid\":"));
}

TEST_F(TarnwickctlHostsTest, SaysThatNothingListensOnAnyMachine)
{
    const std::string port = ListeningChild().portText(); // at which nothing listens any more
    const auto result =
        runTarnwickctl({"--port", port, "--host", "shop.example", "--host", "bakery.example"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("Nothing listens on port " + port));
}

TEST_F(TarnwickctlHostsTest, KillsOnAnotherMachine)
{
    const auto result =
        runTarnwickctl({"kill", "--host", "shop.example", "--yes", m_child.portText()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("shop.example: [kill] "));
    EXPECT_THAT(result.errors, HasSubstr("shop.example: shop-server (pid " + m_child.pidText()));
    EXPECT_EQ(m_child.endedBy(), SIGTERM);
}

TEST_F(TarnwickctlHostsTest, AsksOnTheTerminalOfThisMachine)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "an sshd without privilege cannot give its terminals to the group tty";
    }
    PseudoTerminal terminal(80, 24);
    RunningProgram program(tarnwickctl({"kill", "--host=shop.example", m_child.portText()}),
                           terminal, m_setup);
    ASSERT_TRUE(program.shows("[y/N] "));
    EXPECT_EQ(m_child.endedBy(), 0);
    program.type("y\n");
    EXPECT_EQ(program.finish().exitCode, 0);
    EXPECT_EQ(m_child.endedBy(), SIGTERM);
}

TEST_F(TarnwickctlHostsTest, EndsWithTheCodeOfTheOtherMachine)
{
    const std::string port = ListeningChild().portText(); // at which nothing listens any more
    const auto result = runTarnwickctl({"kill", "--yes", port, "--host", "shop.example"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("shop.example: Nothing listens on port " + port));
}

TEST_F(TarnwickctlHostsTest, NamesEachHostThatFails)
{
    const auto result =
        runTarnwickctl({"kill", "--yes", m_child.portText(), "--host", "closed.example", "--host",
                        "shop.example", "--host", "stranger.example"});
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_THAT(result.errors, HasSubstr("closed.example: ssh: connect to host 127.0.0.1"));
    EXPECT_THAT(result.errors, HasSubstr("tarnwickctl: closed.example: ssh has failed.\n"));
    EXPECT_THAT(result.errors, HasSubstr("tarnwickctl: stranger.example: ssh has failed.\n"));
    EXPECT_THAT(result.output, HasSubstr("shop.example: [kill] "));
    EXPECT_EQ(m_child.endedBy(), SIGTERM);
}

TEST_F(TarnwickctlHostsTest, WatchesSeveralMachines)
{
    RunningProgram program(tarnwickctl({"watch", "--json", "--port", m_child.portText(), "--host",
                                        "shop.example", "--host", "bakery.example"}),
                           m_setup);
    ASSERT_TRUE(program.shows(R"("host":)"));
    ASSERT_TRUE(program.shows(R"("host":)"));
    program.signal(SIGTERM);
    const auto result = program.finish();
    EXPECT_THAT(result.output, HasSubstr(R"({"host":"shop.example",)"));
    EXPECT_THAT(result.output, HasSubstr(R"({"host":"bakery.example",)"));
    EXPECT_THAT(result.output, HasSubstr(R"("change":"opened")"));
}

TEST_F(TarnwickctlHostsTest, EndsWhenItsReaderGoesAwayAlthoughNothingChanges)
{
    RunningProgram program(
        tarnwickctl({"watch", "--port", m_child.portText(), "--host", "shop.example"}), m_setup);
    ASSERT_TRUE(program.shows("shop-server"));
    program.closeOutput();
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST_F(TarnwickctlHostsTest, LeavesNothingBehindWhenItIsKilled)
{
    RunningProgram program(tarnwickctl({"watch", "--port", m_child.portText(), "--host",
                                        "shop.example", "--host", "bakery.example"}),
                           m_setup);
    ASSERT_TRUE(program.shows("shop-server"));
    program.signal(SIGKILL);
    EXPECT_EQ(program.finish().exitCode, 128 + SIGKILL);
    EXPECT_TRUE(m_server->logs("Disconnected from user"));
    EXPECT_TRUE(m_server->logs("Disconnected from user"));
}

TEST_F(TarnwickctlHostsTest, WatchesOneMachineOnTheWholeTerminal)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "an sshd without privilege cannot give its terminals to the group tty";
    }
    PseudoTerminal terminal(80, 24);
    RunningProgram program(
        tarnwickctl({"watch", "--port", m_child.portText(), "--host", "shop.example"}), terminal,
        m_setup);
    ASSERT_TRUE(program.shows("shop-server"));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST_F(TarnwickctlHostsTest, RefusesAHostThatSshWouldTakeForAnOption)
{
    const auto result = runTarnwickctl({"list", "--host=-oProxyCommand=touch x"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("is not a host that ssh takes"));
}

} // namespace
} // namespace Tarnwick
