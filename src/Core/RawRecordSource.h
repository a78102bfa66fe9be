// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <QCoroTask>

#include <vector>

namespace Tarnwick {

/// Where the monitor's scans get their records from. Main thread.
class RawRecordSource
{
public:
    RawRecordSource() = default;
    virtual ~RawRecordSource() = default;
    RawRecordSource(const RawRecordSource &) = delete;
    RawRecordSource &operator=(const RawRecordSource &) = delete;

    /// One listing, in the helper's order; empty after a failure. Continues its caller on the main
    /// thread. When the request or its answer is lost on the way it never completes, and the
    /// frames of those who wait for it are never freed: some hundred bytes for each lost answer.
    [[nodiscard]] virtual QCoro::Task<std::vector<RawPortInfo>> xpcScan() = 0;
};

} // namespace Tarnwick
