// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/PortScanner.h"

#include "Core/ProcessClassifier.h"

#include <utility>

namespace Tarnwick {

namespace {

PortEntry entryFor(const RawPortInfo &record)
{
    const PortTier tier = ProcessClassifier::tier(record.commandPath);
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
        entries.push_back(entryFor(record));
    }
    return entries;
}

} // namespace Tarnwick
