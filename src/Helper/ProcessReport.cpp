// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessReport.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

ProcessReport::ProcessReport(std::vector<ReportedProcess> processes)
    : m_processes(std::move(processes))
{
    std::sort(m_processes.begin(), m_processes.end(),
              [](const ReportedProcess &left, const ReportedProcess &right) {
                  return left.process.pid < right.process.pid;
              });
}

const ReportedProcess *ProcessReport::find(std::int32_t pid) const
{
    const auto found = std::lower_bound(m_processes.begin(), m_processes.end(), pid,
                                        [](const ReportedProcess &reported, std::int32_t wanted) {
                                            return reported.process.pid < wanted;
                                        });
    return found != m_processes.end() && found->process.pid == pid ? &*found : nullptr;
}

} // namespace Tarnwick
