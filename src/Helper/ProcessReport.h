// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessIdentity.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tarnwick {

/// A process as a listing reported it.
struct ReportedProcess
{
    ProcessIdentity process;
    /// Differs when the reported name or executable does.
    std::uint64_t program = 0;
    /// False where its listeners were left out of the listing, though it was known before.
    bool isListed = true;
};

/// The owners that one listing reported: which process each identifier in it stands for. It never
/// changes, so that all who got the listing share it.
class ProcessReport
{
public:
    ProcessReport() = default;
    explicit ProcessReport(std::vector<ReportedProcess> processes);

    /// The process that was reported as @p pid; null when none was.
    [[nodiscard]] const ReportedProcess *find(std::int32_t pid) const;

    [[nodiscard]] const std::vector<ReportedProcess> &processes() const { return m_processes; }

private:
    std::vector<ReportedProcess> m_processes; ///< by identifier
};

using SharedProcessReport = std::shared_ptr<const ProcessReport>;

} // namespace Tarnwick
