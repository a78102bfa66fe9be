// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostsCommand.h"

#include "tests/CommandLine/CommandFixture.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// With an `ssh` that is a script of the test's own: $1 is the host.
class HostsCommandTest : public testing::Test
{
protected:
    void script(const std::string &text) const
    {
        const std::filesystem::path file = m_folder.path() / "ssh";
        std::ofstream(file) << "#!/bin/sh\nwhile [ $# -gt 2 ]; do shift; done\n" << text << '\n';
        std::filesystem::permissions(file, std::filesystem::perms(0755));
    }

    TemporaryFolder m_folder;
    ScopedEnvironment m_path{"PATH", m_folder.path().string() + ":/usr/bin:/bin"};
    TestConsole m_test;
};

TEST_F(HostsCommandTest, PutsTheHostInFrontOfEachLine)
{
    script("echo one of $1; echo two of $1");
    EXPECT_EQ(HostsCommand({"a", "b"}, {"why", "80"}, m_test.console).run(false), ExitCode::Done);
    EXPECT_EQ(m_test.output.written, "a: one of a\na: two of a\nb: one of b\nb: two of b\n");
}

TEST_F(HostsCommandTest, MakesTheHostAMemberOfEachObject)
{
    script(R"(echo '{"port":80}'; echo '{}')");
    EXPECT_EQ(HostsCommand({"a\"b"}, {"why", "80"}, m_test.console).run(true), ExitCode::Done);
    EXPECT_EQ(m_test.output.written, "{\"host\":\"a\\\"b\",\"port\":80}\n{\"host\":\"a\\\"b\"}\n");
}

TEST_F(HostsCommandTest, LetsNoMachineControlTheTerminal)
{
    script(R"(printf '\033[2J\033]0;x\007y\n'; printf '\033[31mno\r\n' >&2; exit 3)");
    EXPECT_EQ(HostsCommand({"a"}, {"why", "80"}, m_test.console).run(false),
              ExitCode::NotPermitted);
    EXPECT_EQ(m_test.output.written, "a: ^[[2J^[]0;x^Gy\n");
    EXPECT_EQ(m_test.errors.written, "a: ^[[31mno\n");
}

TEST_F(HostsCommandTest, EndsWithTheHighestCode)
{
    script("case $1 in a) exit 0 ;; b) exit 5 ;; c) exit 1 ;; esac");
    EXPECT_EQ(HostsCommand({"a", "b", "c"}, {"kill", "80"}, m_test.console).run(false),
              ExitCode::PortTaken);
}

TEST_F(HostsCommandTest, HasACodeOfItsOwnForAHostThatFails)
{
    script("[ $1 = b ] && exit 255; exit 6");
    EXPECT_EQ(HostsCommand({"a", "b"}, {"kill", "80"}, m_test.console).run(false),
              ExitCode::HostFailed);
    EXPECT_EQ(m_test.errors.written, "tarnwickctl: b: ssh has failed.\n");
}

TEST_F(HostsCommandTest, EndsWhenNobodyReadsWhatItFollows)
{
    script("while echo line; do sleep 0.05; done");
    m_test.output.error = std::make_error_code(std::errc::broken_pipe);
    EXPECT_EQ(HostsCommand({"a", "b"}, {"watch"}, m_test.console).follow(false), ExitCode::Done);
}

TEST(HostsCommand, PassesEverythingOnButTheHosts)
{
    const std::vector<const char *> arguments{"kill", "--host", "a",      "--yes", "--host=b",
                                              "80",   "--",     "--host", "c"};
    EXPECT_THAT(argumentsWithoutHosts(arguments),
                ElementsAre("kill", "--yes", "80", "--", "--host", "c"));
}

} // namespace
} // namespace Tarnwick
