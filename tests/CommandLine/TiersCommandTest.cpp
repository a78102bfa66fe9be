// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TiersCommand.h"

#include "CommandLine/Listener.h"
#include "CommandLine/TerminalText.h"
#include "tests/CommandLine/CommandFixture.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct TiersCommandTest : testing::Test
{
    TestConsole test;
    TemporaryFolder folder;
    TierRuleSources sources{.files = {}, .home = "/home/ada"};

    std::string add(const std::string &name, const std::string &text)
    {
        const std::string path = folder.path() / name;
        std::ofstream(path) << text;
        sources.files.push_back({path});
        return path;
    }

    ExitCode run(TiersArguments arguments = {})
    {
        return TiersCommand(arguments, test.console, sources).run();
    }
};

} // namespace

TEST_F(TiersCommandTest, ShowsTheRulesOfEachFileThenTheBuiltInOnes)
{
    const std::string first = add("first", "\n[[rule]]\ntier = 'dev'\nprocess = ['a', 'b']\n"
                                           "ports = '1-9'\ndescription = 'A server'\n");
    const std::string second = add("second", "[[rule]]\ntier = 'app'\ndirectory = '~/**'\n");
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(test.output.written,
                StartsWith(first +
                           ":\n"
                           "LINE  TIER  DESCRIPTION  CONDITIONS\n"
                           "   2  dev   A server     process a | b, ports 1-9\n\n" +
                           second +
                           ":\n"
                           "LINE  TIER  DESCRIPTION  CONDITIONS\n"
                           "   1  app                directory ~/**\n\n"
                           "built-in:\nTIER    CONDITIONS\nsystem  executable /System/**\n"));
    EXPECT_THAT(test.output.written,
                testing::EndsWith(
                    "2 rules in 2 files, then 20 built-in rules; the first that holds decides\n"));
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(TiersCommandTest, FitsTheTerminal)
{
    add("file", "[[rule]]\ntier = 'dev'\nprocess = '" + std::string(300, 'x') + "'\n");
    test.output.shape = {.isTerminal = true, .columns = 60};
    EXPECT_EQ(run(), ExitCode::Done);
    std::istringstream lines(test.output.written);
    for (std::string line; std::getline(lines, line);) {
        // The colours take no columns.
        const std::size_t colours = line.find('\x1b') == std::string::npos ? 0 : 40;
        EXPECT_LE(TerminalText::width(line), 60U + colours) << line;
    }
}

TEST_F(TiersCommandTest, ShowsWhyAFileIsRefusedAndFails)
{
    const std::string bad = add("bad", "[[rule]]\ntier = 'dev'\nexec = 'x'\n");
    add("good", "[[rule]]\ntier = 'app'\nports = 1\n");
    EXPECT_EQ(run(), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: " + bad + ":3: unknown key 'exec'\n");
    EXPECT_THAT(test.output.written, HasSubstr("1 rule in 1 file"));
}

TEST_F(TiersCommandTest, KeepsHostileTextsFromTheTerminal)
{
    add("file", "[[rule]]\ntier = 'dev'\nprocess = \"\\u001b[2J\\u202e\"\n");
    add("bad", "\"\\u001b[2J\" = 1\n");
    EXPECT_EQ(run(), ExitCode::Failed);
    EXPECT_THAT(test.output.written, Not(HasSubstr("\x1b")));
    EXPECT_THAT(test.output.written, Not(HasSubstr("\u202e")));
    EXPECT_THAT(test.errors.written, Not(HasSubstr("\x1b")));
}

TEST_F(TiersCommandTest, WritesJson)
{
    const std::string file = add("file", "[[rule]]\ntier = 'dev'\nexecutable = '/x'\n"
                                         "ports = [1, '2-3']\ndescription = 'D'\n");
    const std::string bad = add("bad", "x = 1\n");
    EXPECT_EQ(run({.json = true}), ExitCode::Failed);
    EXPECT_THAT(test.output.written,
                StartsWith("{\"rules\":[\n{\"file\":\"" + file +
                           "\",\"line\":1,\"tier\":\"dev\",\"description\":\"D\","
                           "\"executable\":[\"/x\"],\"process\":[],\"directory\":[],"
                           "\"command\":[],\"ports\":[\"1\",\"2-3\"]},\n"
                           "{\"file\":\"built-in\",\"line\":0,\"tier\":\"system\","));
    EXPECT_THAT(test.output.written,
                testing::EndsWith("\n],\"refused\":[\n{\"file\":\"" + bad +
                                  "\",\"line\":1,\"reason\":\"unknown key 'x'\"}]}\n"));
}

TEST_F(TiersCommandTest, ShowsTheBuiltInRulesWhereThereIsNoFile)
{
    EXPECT_EQ(run(), ExitCode::Done);
    EXPECT_THAT(test.output.written, StartsWith("built-in:\n"));
    EXPECT_EQ(run({.json = true}), ExitCode::Done);
    EXPECT_THAT(test.output.written, testing::EndsWith("\n],\"refused\":[]}\n"));
}

} // namespace Tarnwick
