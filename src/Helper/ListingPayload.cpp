// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListingPayload.h"

#include <memory>
#include <unordered_set>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

/// Whether a client that was shown @p before takes the listeners of @p now for what they are. What
/// the listing before left out has gone from the client.
bool isRecognized(const ReportedProcess &before, const ReportedProcess &now)
{
    return isSameProcess(before.process, now.process) &&
           (!before.isListed || before.program == now.program);
}

} // namespace

ListingPayload::ListingPayload(const std::vector<RawPortInfo> &records, SharedProcessReport report)
    : m_bytes(RawPortInfo::encode(records))
    , m_report(std::move(report))
{
}

std::optional<ListingPayload::Reduced> ListingPayload::after(const ProcessReport *before) const
{
    if (before == nullptr || before == m_report.get()) {
        return std::nullopt;
    }
    std::unordered_set<std::int64_t> replaced;
    std::vector<ReportedProcess> reported;
    for (const ReportedProcess &now : m_report->processes()) {
        const ReportedProcess *then = before->find(now.process.pid);
        if (then == nullptr || isRecognized(*then, now)) {
            reported.push_back(now);
            continue;
        }
        replaced.insert(now.process.pid);
        if (isSameProcess(then->process, now.process)) {
            reported.push_back(now);
            reported.back().isListed = false;
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
    return Reduced{RawPortInfo::encode(*records),
                   std::make_shared<const ProcessReport>(std::move(reported))};
}

} // namespace Tarnwick
