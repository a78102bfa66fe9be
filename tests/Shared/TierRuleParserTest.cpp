// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleParser.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

std::string problemWith(std::string_view text)
{
    const TierRuleParser::Parsed parsed = TierRuleParser::parse(text, "t.toml", "/home/ada");
    const auto *const problem = std::get_if<TierRuleProblem>(&parsed);
    return problem != nullptr ? problem->text() : "";
}

/// The line of the problem of a rule whose third line is @p line, and what is said about it.
std::string problemWithLine(const std::string &line)
{
    return problemWith("[[rule]]\ntier = 'dev'\n" + line + "\nprocess = 'x'\n");
}

} // namespace

TEST(TierRuleParser, ReadsEveryKeyOfARule)
{
    const std::string text = R"(# A comment
[[rule]]
tier = "dev"
description = "Größe"
executable = ["/usr/bin/node", "~/bin/*"]
process = "node"
directory = '/home/**'
command = ["* a", '* b']
ports = [80, "3000-3999", "443"]

[[rule]]
tier = "unknown"
ports = "1-65535"
)";
    const TierRuleParser::Parsed parsed = TierRuleParser::parse(text, "t.toml", "/home/ada");
    const auto *const rules = std::get_if<std::vector<TierRule>>(&parsed);
    ASSERT_NE(rules, nullptr) << problemWith(text);
    ASSERT_EQ(rules->size(), 2U);
    const TierRule &first = rules->front();
    EXPECT_EQ(first.tier, PortTier::Dev);
    EXPECT_EQ(first.description, "Größe");
    EXPECT_EQ(first.executable.entries(), (std::vector<std::string>{"/usr/bin/node", "~/bin/*"}));
    EXPECT_EQ(first.process.entries(), (std::vector<std::string>{"node"}));
    EXPECT_EQ(first.directory.entries(), (std::vector<std::string>{"/home/**"}));
    EXPECT_EQ(first.command.entries(), (std::vector<std::string>{"* a", "* b"}));
    EXPECT_EQ(first.ports, (std::vector<PortRange>{{80, 80}, {3000, 3999}, {443, 443}}));
    EXPECT_EQ(first.file, "t.toml");
    EXPECT_EQ(first.line, 2U);
    EXPECT_EQ(rules->back().tier, PortTier::Unknown);
    EXPECT_EQ(rules->back().line, 11U);
    EXPECT_TRUE(first.executable.matches("/home/ada/bin/x"));
}

TEST(TierRuleParser, TakesAFileWithoutRules)
{
    EXPECT_EQ(problemWith(""), "");
    EXPECT_EQ(problemWith("# nothing\n"), "");
    EXPECT_EQ(problemWith("rule = []\n"), "");
    EXPECT_EQ(problemWith("\xEF\xBB\xBF# a byte order mark\n"), "");
}

TEST(TierRuleParser, SaysWhichLineIsNoToml)
{
    EXPECT_EQ(problemWith("[[rule]]\ntier = \n").substr(0, 9), "t.toml:2:");
    EXPECT_EQ(problemWithLine("process = 'y'").substr(0, 9), "t.toml:4:");
    EXPECT_EQ(problemWith("[[rule]]\ntier = 'dev'\nprocess = ['a', \n'b'\n").substr(0, 7),
              "t.toml:");
    EXPECT_EQ(problemWith("a\n").find('\n'), std::string::npos);
    EXPECT_EQ(problemWith("# \n# \xff\n"), "t.toml:2: not UTF-8");
    EXPECT_EQ(problemWith("x = \"\xc3"), "t.toml:1: not UTF-8");
}

TEST(TierRuleParser, SaysWhichKeyIsUnknown)
{
    EXPECT_EQ(problemWithLine("exec = 'x'"), "t.toml:3: unknown key 'exec'");
    EXPECT_EQ(problemWith("\nrules = 1\n"), "t.toml:2: unknown key 'rules'");
    EXPECT_EQ(problemWith("\"a\\nb\" = 1\n"), "t.toml:1: unknown key 'a?b'");
    EXPECT_EQ(problemWith("[[rule]]\ntier='dev'\nports=1\n[other]\na=1\n"),
              "t.toml:4: unknown key 'other'");
}

TEST(TierRuleParser, SaysWhichValueIsWrong)
{
    const std::string tier = R"(t.toml:2: 'tier' must be "system", "app", "dev" or "unknown")";
    for (const char *text : {"'Dev'", "''", "1", "['dev']"}) {
        EXPECT_EQ(problemWith("[[rule]]\ntier = " + std::string(text) + "\nports = 1\n"), tier);
    }
    EXPECT_EQ(problemWithLine("executable = 1"),
              "t.toml:3: 'executable' must be a string or an array of strings");
    EXPECT_EQ(problemWithLine("directory = ['/a', {}]"),
              "t.toml:3: 'directory' must be a string or an array of strings");
    EXPECT_EQ(problemWithLine("command = []"), "t.toml:3: 'command' is an empty array");
    EXPECT_EQ(problemWithLine("command = ''"), "t.toml:3: 'command': an empty pattern");
    EXPECT_EQ(problemWithLine("directory = ['/a',\n '/[']"),
              "t.toml:4: 'directory': '[' without ']'");
    for (const char *text : {"''", "1", "\"a\\nb\"", "\"\\u007f\""}) {
        EXPECT_EQ(problemWithLine("description = " + std::string(text)),
                  "t.toml:3: 'description' must be a string of one line, and not empty");
    }
}

TEST(TierRuleParser, SaysWhichPortIsNone)
{
    for (const char *text :
         {"0", "65536", "-1", "80.5", "'a'", "'0-5'", "'5-4'", "'1-65536'", "'1-'", "'-1'", "''",
          "'1-2-3'", "' 1'", "'+1'", "true", "'99999999999999999999'"}) {
        EXPECT_EQ(problemWithLine("ports = " + std::string(text)),
                  "t.toml:3: 'ports' must be ports, 1 to 65535, or ranges such as \"3000-3999\"")
            << text;
    }
    EXPECT_EQ(problemWithLine("ports = []"), "t.toml:3: 'ports' is an empty array");
}

TEST(TierRuleParser, SaysWhatARuleLacks)
{
    EXPECT_EQ(problemWith("[[rule]]\nports = 1\n"), "t.toml:1: the rule has no 'tier'");
    EXPECT_EQ(problemWith("\n[[rule]]\ntier = 'dev'\n").substr(0, 38),
              "t.toml:2: the rule has no condition: o");
    EXPECT_EQ(problemWith("[rule]\ntier = 'dev'\n"), "t.toml:1: a rule begins with [[rule]]");
    EXPECT_EQ(problemWith("rule = 'dev'\n"), "t.toml:1: a rule begins with [[rule]]");
    EXPECT_EQ(problemWith("rule = [1]\n"), "t.toml:1: a rule begins with [[rule]]");
}

TEST(TierRuleParser, NamesTheFirstOfSeveralProblems)
{
    EXPECT_EQ(problemWith("[[rule]]\ntier = 'dex'\nports = 0\nabc = 1\n").substr(0, 9),
              "t.toml:2:");
    EXPECT_EQ(problemWith("top = 1\n[[rule]]\ntier = 'dex'\n"), "t.toml:1: unknown key 'top'");
}

TEST(TierRuleParser, RefusesWhatIsNestedTooDeeply)
{
    EXPECT_NE(problemWith("a = " + std::string(100'000, '[')), "");
}

} // namespace Tarnwick
