// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListingPayload.h"

#include <unordered_set>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

bool isSame(const ReportedProcess &before, const ReportedProcess &now)
{
    return before.program == now.program && isSameProcess(before.process, now.process);
}

} // namespace

ListingPayload::ListingPayload(const std::vector<RawPortInfo> &records, SharedProcessReport report)
    : m_bytes(RawPortInfo::encode(records))
    , m_report(std::move(report))
{
}

std::optional<std::string> ListingPayload::bytesAfter(const ProcessReport *before) const
{
    if (before == nullptr || before == m_report.get()) {
        return std::nullopt;
    }
    std::unordered_set<std::int64_t> replaced;
    for (const ReportedProcess &now : m_report->processes()) {
        const ReportedProcess *then = before->find(now.process.pid);
        if (then != nullptr && !isSame(*then, now)) {
            replaced.insert(now.process.pid);
        }
    }
    if (replaced.empty()) {
        return std::nullopt;
    }
    // So seldom that the records are not kept for it.
    RawPortInfo::Decoded decoded = RawPortInfo::decode(m_bytes);
    auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    if (records == nullptr) {
        return std::nullopt;
    }
    std::erase_if(*records,
                  [&replaced](const RawPortInfo &record) { return replaced.contains(record.pid); });
    return RawPortInfo::encode(*records);
}

} // namespace Tarnwick
