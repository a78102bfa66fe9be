// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/PortScanner.h"

#include "Core/ProcessClassifier.h"

#include <utility>

namespace Tarnwick {

namespace {

PortEntry entryFor(const RawPortInfo &record, PortTier tier)
{
    ProcessClassifier::Description description =
        ProcessClassifier::describe(record.processName, tier);
    return {
        .id = Uuid::random(),
        .port = record.port,
        .pid = record.pid,
        .process = record.processName,
        .command = record.commandPath,
        .cwd = record.cwd,
        .arguments = record.arguments,
        .originArguments =
            record.originArguments.empty() ? record.arguments : record.originArguments,
        .memoryBytes = record.memoryBytes,
        .tier = tier,
        .description = std::move(description.desc),
        .settingsLink = std::move(description.settingsLink),
        .openedAt = record.processStartedAt,
    };
}

} // namespace

std::vector<PortEntry> PortScanner::entries(std::span<const RawPortInfo> records)
{
    std::vector<PortEntry> entries;
    entries.reserve(records.size());
    for (const RawPortInfo &record : records) {
        entries.push_back(entryFor(record, ProcessClassifier::tier(record.commandPath)));
    }
    return entries;
}

std::vector<PortEntry> PortScanner::entries(std::span<const RawPortInfo> records,
                                            const TierRules &rules)
{
    TierRules::Matcher matcher(rules);
    std::vector<PortEntry> entries;
    entries.reserve(records.size());
    for (const RawPortInfo &record : records) {
        const TierRule *const rule = matcher.match(record);
        const PortTier tier =
            rule != nullptr ? rule->tier : ProcessClassifier::tier(record.commandPath);
        entries.push_back(entryFor(record, tier));
        if (rule != nullptr && !rule->description.empty()) {
            entries.back().description = rule->description;
        }
    }
    return entries;
}

} // namespace Tarnwick
