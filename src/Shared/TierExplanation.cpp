// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierExplanation.h"

#include "Core/PathRule.h"
#include "Core/ProcessClassifier.h"

#include <algorithm>
#include <vector>

namespace Tarnwick {

namespace {

void append(std::string &text, std::string_view name, const std::vector<std::string> &entries)
{
    if (entries.empty()) {
        return;
    }
    text.append(text.empty() ? "" : ", ").append(name);
    std::string_view separator = " ";
    for (const std::string &entry : entries) {
        text.append(separator).append(entry);
        separator = " | ";
    }
}

} // namespace

TierExplanation TierExplanation::of(const RawPortInfo &record, const TierRules &rules)
{
    if (const TierRule *const rule = rules.match(record)) {
        return {.tier = rule->tier, .rule = rule, .builtIn = nullptr};
    }
    const auto *const held =
        std::find_if(pathRules.begin(), pathRules.end(),
                     [&record](const PathRule &rule) { return rule.matches(record.commandPath); });
    return {.tier = ProcessClassifier::tier(record.commandPath),
            .rule = nullptr,
            .builtIn = held == pathRules.end() ? nullptr : held};
}

std::string TierExplanation::place() const
{
    return rule != nullptr ? rule->file + ":" + std::to_string(rule->line) : "built-in";
}

std::string TierExplanation::conditions() const
{
    if (rule != nullptr) {
        return conditionsText(*rule);
    }
    return builtIn != nullptr ? conditionsText(*builtIn) : "no rule holds";
}

std::string conditionsText(const TierRule &rule)
{
    std::vector<std::string> ports;
    for (const PortRange &range : rule.ports) {
        ports.push_back(portsText(range));
    }
    std::string text;
    append(text, "executable", rule.executable.entries());
    append(text, "process", rule.process.entries());
    append(text, "directory", rule.directory.entries());
    append(text, "command", rule.command.entries());
    append(text, "ports", ports);
    return text;
}

std::string conditionsText(const PathRule &rule)
{
    const bool isAnywhere = rule.test == PathRule::Test::Contains;
    return "executable " + std::string(isAnywhere ? "**" : "") + std::string(rule.text) + "**";
}

std::string portsText(const PortRange &range)
{
    const std::string first = std::to_string(range.first);
    return range.first == range.last ? first : first + "-" + std::to_string(range.last);
}

} // namespace Tarnwick
