// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierExplanation.h"

#include "Core/PathRule.h"
#include "Core/ProcessClassifier.h"
#include "Shared/TierRuleParser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

RawPortInfo recordOf(std::string path)
{
    RawPortInfo record;
    record.port = 80;
    record.commandPath = std::move(path);
    return record;
}

} // namespace

TEST(TierExplanation, NamesTheRuleThatDecided)
{
    const TierRules rules(std::get<std::vector<TierRule>>(
        TierRuleParser::parse("\n[[rule]]\ntier = 'app'\nexecutable = ['/usr/bin/*', '/opt/**']\n"
                              "ports = [80, '8000-8999']\n",
                              "/etc/tarnwick/tiers.toml", "")));
    const TierExplanation explanation = TierExplanation::of(recordOf("/usr/bin/nginx"), rules);
    EXPECT_EQ(explanation.tier, PortTier::App);
    EXPECT_EQ(explanation.place(), "/etc/tarnwick/tiers.toml:2");
    EXPECT_EQ(explanation.conditions(), "executable /usr/bin/* | /opt/**, ports 80 | 8000-8999");
}

TEST(TierExplanation, NamesTheBuiltInRuleThatDecided)
{
    const TierExplanation begins = TierExplanation::of(recordOf("/usr/bin/nginx"), {});
    EXPECT_EQ(begins.tier, PortTier::System);
    EXPECT_EQ(begins.place(), "built-in");
    EXPECT_EQ(begins.conditions(), "executable /usr/bin/**");

    const TierExplanation contains = TierExplanation::of(recordOf("/home/ada/.nvm/node"), {});
    EXPECT_EQ(contains.tier, PortTier::Dev);
    EXPECT_EQ(contains.conditions(), "executable **/.nvm/**");

    const TierExplanation none = TierExplanation::of(recordOf("/srv/node"), {});
    EXPECT_EQ(none.tier, PortTier::Unknown);
    EXPECT_EQ(none.place(), "built-in");
    EXPECT_EQ(none.conditions(), "no rule holds");
}

TEST(TierExplanation, AgreesWithTheClassifier)
{
    for (const PathRule &rule : pathRules) {
        for (const char *front : {"", "/x"}) {
            const std::string path = front + std::string(rule.text) + "program";
            const TierExplanation explanation = TierExplanation::of(recordOf(path), {});
            EXPECT_EQ(explanation.tier, ProcessClassifier::tier(path)) << path;
            EXPECT_EQ(explanation.builtIn != nullptr ? explanation.builtIn->tier
                                                     : PortTier::Unknown,
                      explanation.tier)
                << path;
        }
    }
}

} // namespace Tarnwick
