// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRules.h"

#include "Core/ProcessClassifier.h"
#include "Shared/PortScanner.h"
#include "Shared/TierRuleParser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

std::vector<TierRule> parsed(const std::string &toml)
{
    TierRuleParser::Parsed result = TierRuleParser::parse(toml, "tiers.toml", "/home/ada");
    if (const auto *const problem = std::get_if<TierRuleProblem>(&result)) {
        ADD_FAILURE() << problem->text();
        return {};
    }
    return std::get<std::vector<TierRule>>(std::move(result));
}

RawPortInfo nodeRecord()
{
    RawPortInfo record;
    record.pid = 7;
    record.port = 3000;
    record.processName = "node";
    record.commandPath = "/usr/bin/node";
    record.cwd = "/home/ada/shop";
    record.arguments = {"node", "server.js", "--port", "3000"};
    return record;
}

/// The line of the rule that holds for nodeRecord() when @p toml are the rules; 0 where none does.
unsigned lineHolding(const std::string &toml, const RawPortInfo &record = nodeRecord())
{
    const TierRules rules(parsed(toml));
    const TierRule *const rule = rules.match(record);
    return rule != nullptr ? rule->line : 0;
}

std::string rule(const std::string &conditions)
{
    return "[[rule]]\ntier = 'dev'\n" + conditions + '\n';
}

} // namespace

TEST(TierRules, HoldWhereAllConditionsAreMet)
{
    EXPECT_EQ(lineHolding(rule("process = 'node'")), 1U);
    EXPECT_EQ(lineHolding(rule("executable = '/usr/bin/*'")), 1U);
    EXPECT_EQ(lineHolding(rule("directory = '~/**'")), 1U);
    EXPECT_EQ(lineHolding(rule("command = 'node server.js --port 3000'")), 1U);
    EXPECT_EQ(lineHolding(rule("ports = 3000")), 1U);
    const std::string all = "process = 'node'\nexecutable = '/usr/bin/*'\ndirectory = '~/**'\n"
                            "command = '* server.js *'\nports = '3000-3999'";
    EXPECT_EQ(lineHolding(rule(all)), 1U);

    using Change = void (*)(RawPortInfo &);
    const std::vector<Change> changes{
        [](RawPortInfo &record) { record.processName = "bun"; },
        [](RawPortInfo &record) { record.commandPath = "/usr/sbin/node"; },
        [](RawPortInfo &record) { record.cwd = "/var/lib/shop"; },
        [](RawPortInfo &record) {
            record.arguments = {"node", "other.js"};
        },
        [](RawPortInfo &record) { record.port = 4000; },
    };
    for (const Change change : changes) {
        RawPortInfo record = nodeRecord();
        change(record);
        EXPECT_EQ(lineHolding(rule(all), record), 0U);
    }
}

TEST(TierRules, AreTriedInTheirOrder)
{
    // Whichever way they are found: by process, by executable, or one by one.
    const std::string byProcess = rule("process = ['bun', 'node']");
    const std::string byExecutable = rule("executable = '/usr/{bin,lib}/node'");
    const std::string byDirectory = rule("directory = '/home/**'");
    for (const auto &first : {byProcess, byExecutable, byDirectory}) {
        for (const auto &second : {byDirectory, byExecutable, byProcess}) {
            EXPECT_EQ(lineHolding(first + second), 1U);
            EXPECT_EQ(lineHolding(rule("ports = 1") + first + second), 4U);
        }
    }
}

TEST(TierRules, HoldForAProcessWhoseNameIsOneOfSeveral)
{
    EXPECT_EQ(lineHolding(rule("process = ['deno', 'node', 'node']")), 1U);
    EXPECT_EQ(lineHolding(rule("process = 'no*'")), 1U);
    EXPECT_EQ(lineHolding(rule("process = '!node'")), 0U);
    EXPECT_EQ(lineHolding(rule("process = '!deno'")), 1U);
    EXPECT_EQ(lineHolding(rule("process = ['node', '!no*']")), 0U);
}

TEST(TierRules, FindEachRecordOfManyWithOneMatcher)
{
    const TierRules rules(parsed(rule("command = '* server.js *'")));
    TierRules::Matcher matcher(rules);
    RawPortInfo other = nodeRecord();
    other.arguments = {"node", "api.js"};
    EXPECT_NE(matcher.match(nodeRecord()), nullptr);
    EXPECT_EQ(matcher.match(other), nullptr);
    EXPECT_NE(matcher.match(nodeRecord()), nullptr);
}

TEST(TierRules, GiveEntriesTheirTierAndTheirDescription)
{
    const TierRules rules(parsed("[[rule]]\ntier = 'app'\nports = 3000\ndescription = 'The shop'\n"
                                 "[[rule]]\ntier = 'dev'\nports = 3001\n"));
    std::vector<RawPortInfo> records(3, nodeRecord());
    records[1].port = 3001;
    records[2].port = 3002;
    const std::vector<PortEntry> entries = PortScanner::entries(records, rules);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].tier, PortTier::App);
    EXPECT_EQ(entries[0].description, "The shop");
    EXPECT_EQ(entries[1].tier, PortTier::Dev);
    EXPECT_EQ(entries[1].description, "Node.js");
    EXPECT_EQ(entries[2].tier, PortTier::System);
    EXPECT_EQ(entries[2].description, "node");
}

TEST(TierRules, LeaveTheSettingsLinkToTheClassifier)
{
    const TierRules rules(
        parsed("[[rule]]\ntier = 'system'\nports = 3000\ndescription = 'Shared files'\n"));
    RawPortInfo record = nodeRecord();
    record.processName = "sharingd";
    const std::vector<PortEntry> entries = PortScanner::entries({&record, 1}, rules);
    EXPECT_EQ(entries.front().description, "Shared files");
    EXPECT_EQ(entries.front().settingsLink, "Sharing");
}

TEST(TierRules, ChangeNothingWhereThereAreNone)
{
    const std::vector<RawPortInfo> records{nodeRecord()};
    const std::vector<PortEntry> with = PortScanner::entries(records, TierRules());
    const std::vector<PortEntry> without = PortScanner::entries(records);
    EXPECT_EQ(with.front().tier, without.front().tier);
    EXPECT_EQ(with.front().description, without.front().description);
    EXPECT_EQ(TierRules().match(records.front()), nullptr);
}

} // namespace Tarnwick
