// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleParser.h"
#include "Shared/TierRules.h"
#include "tests/Fuzz/Fuzzer.h"

#include <string>
#include <utility>
#include <variant>
#include <vector>

using namespace Tarnwick;

/// A file with rules; those that it has are tried with one record.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    TierRuleParser::Parsed parsed =
        TierRuleParser::parse(textOf(data, size), "tiers.toml", "/home/ada");
    if (const auto *const problem = std::get_if<TierRuleProblem>(&parsed)) {
        require(!problem->reason.empty());
        require(problem->text().find('\n') == std::string::npos);
        return 0;
    }
    auto &read = std::get<std::vector<TierRule>>(parsed);
    for (const TierRule &rule : read) {
        require(rule.line > 0 && rule.hasCondition());
    }
    const TierRules rules(std::move(read));
    RawPortInfo record;
    record.port = 3000;
    record.processName = "node";
    record.commandPath = "/usr/bin/node";
    record.cwd = "/home/ada/shop";
    record.arguments = {"node", "server.js"};
    const TierRule *const rule = rules.match(record);
    require(rule == nullptr ||
            (rule >= rules.rules().data() && rule < rules.rules().data() + rules.rules().size()));
    return 0;
}
