// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostsCommand.h"

#include "CommandLine/JsonListing.h"
#include "tests/CommandLine/CommandFixture.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// The listing of one process of that name.
std::string array(const char *process)
{
    WrittenText text;
    EXPECT_FALSE(JsonListing::write(listenersFrom({record(3000, 4711, process)}), text));
    return text.written;
}

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

TEST_F(HostsCommandTest, ReadsTheListingsOfAllHosts)
{
    script("[ $1 = c ] && echo '[]' && exit 1\necho '" + array("node") + "'");
    const auto listings = HostsCommand({"a", "b", "c"}, {"list"}, m_test.console).list();
    EXPECT_EQ(listings.code, ExitCode::Done);
    ASSERT_EQ(listings.listeners.size(), 2U);
    EXPECT_EQ(listings.listeners[0].host, "a");
    EXPECT_EQ(listings.listeners[1].host, "b");
    EXPECT_EQ(listings.listeners[0].entry.process, "node");
}

TEST_F(HostsCommandTest, MakesOneArrayOfTheListings)
{
    script("[ $1 = b ] && echo '[]' && exit 1\necho '" + array("node") + "'");
    EXPECT_EQ(HostsCommand({"a", "b", "c"}, {"list"}, m_test.console).writeListings(),
              ExitCode::Done);
    EXPECT_THAT(m_test.output.written, StartsWith("[\n{\"host\":\"a\",\"pid\":4711,"));
    EXPECT_THAT(m_test.output.written, HasSubstr("},\n{\"host\":\"c\",\"pid\":4711,"));
    EXPECT_THAT(m_test.output.written, EndsWith("}\n]\n"));
}

TEST_F(HostsCommandTest, WritesAnEmptyArrayWhereNothingListensAnywhere)
{
    script("echo '[]'; exit 1");
    EXPECT_EQ(HostsCommand({"a", "b"}, {"list"}, m_test.console).writeListings(),
              ExitCode::NothingDone);
    EXPECT_EQ(m_test.output.written, "[]\n");
}

TEST_F(HostsCommandTest, TakesNoOtherAnswerForAListing)
{
    for (const char *answer : {"", "hello", "{}", "[{}]", "[", "[1]", R"([{"pid":1}])"}) {
        script("echo '" + std::string(answer) + "'");
        m_test.errors.written.clear();
        m_test.output.written.clear();
        EXPECT_EQ(HostsCommand({"a"}, {"list"}, m_test.console).writeListings(),
                  ExitCode::HostFailed)
            << answer;
        EXPECT_EQ(m_test.output.written, "[]\n");
        EXPECT_THAT(m_test.errors.written,
                    StartsWith("tarnwickctl: a: its answer is no listing: "));
        EXPECT_EQ(HostsCommand({"a"}, {"list"}, m_test.console).list().code, ExitCode::HostFailed);
    }
}

TEST(HostsCommand, PassesNoOptionOnThatIsForThisMachine)
{
    constexpr std::array<std::string_view, 2> options{"--host", "--columns"};
    const std::vector<const char *> arguments{"kill",     "--host",    "a",    "--yes",
                                              "--host=b", "--columns", "port", "80",
                                              "--",       "--host",    "c",    "--hosts"};
    EXPECT_THAT(argumentsWithout(options, arguments),
                ElementsAre("kill", "--yes", "80", "--", "--host", "c", "--hosts"));
}

} // namespace
} // namespace Tarnwick
