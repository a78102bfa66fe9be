// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListingPayload.h"

#include <utility>

namespace Tarnwick {

ListingPayload::ListingPayload(const std::vector<RawPortInfo> &records, SharedProcessReport report)
    : m_bytes(RawPortInfo::encode(records))
    , m_report(std::move(report))
{
}

} // namespace Tarnwick
