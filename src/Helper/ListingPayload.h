// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessReport.h"
#include "Shared/RawPortInfo.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// A listing as clients get it: its records, encoded once for all of them, and the owners that it
/// reports.
class ListingPayload
{
public:
    ListingPayload(const std::vector<RawPortInfo> &records, SharedProcessReport report);

    /// The records, see RawPortInfo::encode().
    [[nodiscard]] const std::string &bytes() const { return m_bytes; }

    [[nodiscard]] const SharedProcessReport &report() const { return m_report; }

private:
    std::string m_bytes;
    SharedProcessReport m_report;
};

} // namespace Tarnwick
