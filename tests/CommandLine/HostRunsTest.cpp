// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostRuns.h"

#include "tests/CommandLine/SshServer.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string pathWith(const std::filesystem::path &folder)
{
    const char *const path = std::getenv("PATH");
    return folder.string() + ":" + (path == nullptr ? "/usr/bin:/bin" : path);
}

/// With an `ssh` that is a script of the test's own. Its last two arguments are the host and the
/// command.
class ScriptedSshTest : public ::testing::Test
{
protected:
    void script(const std::string &text) const
    {
        const std::filesystem::path file = m_folder.path() / "ssh";
        std::ofstream(file) << "#!/bin/sh\nwhile [ $# -gt 2 ]; do shift; done\n" << text << '\n';
        std::filesystem::permissions(file, std::filesystem::perms(0755));
    }

    /// The results of one host, which runs the script.
    [[nodiscard]] static HostRuns::Result single(HostRuns::Limits limits = {})
    {
        return HostRuns({"shop"}, {"list"}, limits).run(false).front();
    }

    TemporaryFolder m_folder;
    ScopedEnvironment m_path{"PATH", pathWith(m_folder.path())};
};

TEST_F(ScriptedSshTest, KeepsWhatEachHostAnswersInTheOrderOfTheHosts)
{
    script("[ $1 = a ] && sleep 0.2; echo \"$1: $2\"; echo \"error of $1\" >&2; exit 1");
    const auto results = HostRuns({"a", "b"}, {"list", "--json"}).run(false);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].output, "a: tarnwickctl 'list' '--json'\n");
    EXPECT_EQ(results[0].errors, "error of a\n");
    EXPECT_EQ(results[0].code, ExitCode::NothingDone);
    EXPECT_EQ(results[1].host, "b");
    EXPECT_EQ(results[1].output, "b: tarnwickctl 'list' '--json'\n");
    EXPECT_THAT(results[1].failure, IsEmpty());
}

TEST_F(ScriptedSshTest, TellsTheFailuresOfSshFromThoseOfTheProgramThere)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {"exit 255", "ssh has failed"},
        {"exit 127", "tarnwickctl is not in the PATH there"},
        {"exit 126", "tarnwickctl cannot be run there"},
        {"exit 42", "tarnwickctl ended with 42 there"},
        {"kill -9 $$", "ssh was ended by signal 9"},
    };
    for (const auto &[text, failure] : cases) {
        script(text);
        const HostRuns::Result result = single();
        EXPECT_EQ(result.failure, failure);
        EXPECT_FALSE(result.code) << text;
    }
}

TEST_F(ScriptedSshTest, PassesEveryExitCodeOfTheProgramOn)
{
    for (int code = 0; code <= static_cast<int>(lastOwnCode); ++code) {
        script("exit " + std::to_string(code));
        EXPECT_EQ(single().code, static_cast<ExitCode>(code));
    }
}

TEST_F(ScriptedSshTest, GivesTheProgramNothingToRead)
{
    script("cat; echo end");
    EXPECT_EQ(single().output, "end\n");
}

TEST_F(ScriptedSshTest, EndsAHostThatWritesTooMuch)
{
    script("exec cat /dev/zero");
    const HostRuns::Result result = single({.maxOutput = 1'000'000});
    EXPECT_EQ(result.failure, "more than 1000000 bytes came from there");
    EXPECT_FALSE(result.code);
    EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(ScriptedSshTest, KeepsTheBeginningOfLongErrors)
{
    script("head -c 100000 /dev/zero | tr '\\0' x >&2; echo done");
    const HostRuns::Result result = single();
    EXPECT_EQ(result.errors, std::string(HostRuns::Limits().maxErrors, 'x'));
    EXPECT_EQ(result.output, "done\n");
}

TEST_F(ScriptedSshTest, RunsAFewHostsAtATime)
{
    // Each holds a file open while it runs, and notes how many do.
    script("cd " + m_folder.path().string() +
           "; touch run.$1; sleep 0.1; ls run.* | wc -l; rm run.$1");
    std::vector<std::string> hosts;
    for (char name = 'a'; name < 'm'; ++name) {
        hosts.emplace_back(1, name);
    }
    const auto results = HostRuns(hosts, {"list"}, {.atOnce = 3}).run(false);
    ASSERT_EQ(results.size(), hosts.size());
    for (const HostRuns::Result &result : results) {
        EXPECT_EQ(result.code, ExitCode::Done);
        EXPECT_LE(std::stoi(result.output), 3);
    }
}

TEST_F(ScriptedSshTest, PassesLinesOnAsTheyCome)
{
    script("echo one; printf two; sleep 0.1; echo half; printf end");
    std::vector<std::string> lines;
    const auto results =
        HostRuns({"a"}, {"watch"}).run(false, [&lines](std::size_t host, std::string_view line) {
            EXPECT_EQ(host, 0U);
            lines.emplace_back(line);
            return true;
        });
    EXPECT_THAT(lines, ElementsAre("one", "twohalf", "end"));
    EXPECT_THAT(results.front().output, IsEmpty());
}

TEST_F(ScriptedSshTest, EndsAllRunsWhereNoMoreLinesAreWanted)
{
    script("while echo line; do sleep 0.05; done");
    const auto results =
        HostRuns({"a", "b"}, {"watch"}).run(false, [](std::size_t, std::string_view) {
            return false;
        });
    EXPECT_FALSE(results.front().code);
}

TEST(HostRuns, SaysThatThereIsNoSsh)
{
    const TemporaryFolder empty;
    const ScopedEnvironment path("PATH", empty.path().string());
    const auto results = HostRuns({"shop"}, {"list"}).run(false);
    EXPECT_EQ(results.front().failure, "there is no ssh on this machine");
}

/// With a real server.
class RealSshTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_server) {
            GTEST_SKIP() << "there is no sshd that this user can start";
        }
        m_path = std::make_unique<ScopedEnvironment>("PATH", pathWith(m_server->clientFolder()));
    }

    std::unique_ptr<SshServer> m_server = SshServer::start();
    std::unique_ptr<ScopedEnvironment> m_path;
};

TEST_F(RealSshTest, RunsTheProgramOnSeveralHosts)
{
    const auto results =
        HostRuns({"shop.example", "bakery.example", "cafe.example"}, {"--version"}).run(false);
    for (const HostRuns::Result &result : results) {
        EXPECT_EQ(result.code, ExitCode::Done) << result.failure << result.errors;
        EXPECT_THAT(result.output, HasSubstr("tarnwickctl "));
    }
}

TEST_F(RealSshTest, PassesArgumentsOnAsTheyAre)
{
    const auto results =
        HostRuns({"shop.example"}, {"list", "--search", "it's $(exit 9) \"x\"", "--json"})
            .run(false);
    EXPECT_EQ(results.front().code, ExitCode::NothingDone) << results.front().errors;
    EXPECT_EQ(results.front().output, "[]\n");
}

TEST_F(RealSshTest, TellsTheFailureOfEachHostByItself)
{
    const auto results =
        HostRuns({"closed.example", "shop.example", "stranger.example"}, {"--version"}).run(false);
    EXPECT_EQ(results[0].failure, "ssh has failed");
    EXPECT_THAT(results[0].errors, HasSubstr("Connection refused"));
    EXPECT_EQ(results[1].code, ExitCode::Done) << results[1].errors;
    EXPECT_EQ(results[2].failure, "ssh has failed");
    EXPECT_THAT(results[2].errors, HasSubstr("Permission denied"));
}

TEST(RealSsh, SaysThatTheProgramIsNotThere)
{
    const std::unique_ptr<SshServer> server = SshServer::start(false);
    if (!server) {
        GTEST_SKIP() << "there is no sshd that this user can start";
    }
    const ScopedEnvironment path("PATH", pathWith(server->clientFolder()));
    const auto results = HostRuns({"shop.example"}, {"--version"}).run(false);
    EXPECT_EQ(results.front().failure, "tarnwickctl is not in the PATH there");
}

} // namespace
} // namespace Tarnwick
