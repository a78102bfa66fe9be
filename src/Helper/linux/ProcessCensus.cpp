// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessCensus.h"

#include "Helper/linux/HolderSearch.h"

#include <array>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

ProcessCensus::ProcessCensus(int root)
    : m_root(root)
    , m_loadAverage(ProcFs::openFile(root, "loadavg"))
{
}

ProcessCensus::Pulse ProcessCensus::pulse()
{
    // proc(5): three averages, running/existing tasks, the identifier given out last.
    std::array<char, 128> text;
    const ssize_t got = ::pread(m_loadAverage.get(), text.data(), text.size(), 0);
    const std::string_view line(text.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    const std::size_t slash = line.find('/');
    if (slash == std::string_view::npos) {
        return {.processesChanged = true, .othersRun = true};
    }
    const std::string_view counters = line.substr(slash);
    const std::string_view averagesAndRunning = line.substr(0, slash);
    Pulse pulse{.processesChanged = counters != m_counters,
                // Who asks is running itself.
                .othersRun = !averagesAndRunning.ends_with(" 1")};
    m_counters = counters;
    return pulse;
}

std::span<const ProcFs::ProcessEntry> ProcessCensus::take(Purpose purpose)
{
    ++m_take;
    m_search += purpose == Purpose::Search ? 1 : 0;
    const std::uint64_t nextSearch = m_search + (purpose == Purpose::Search ? 0 : 1);
    m_processes = ProcFs::processes(m_root);
    for (const ProcFs::ProcessEntry &process : m_processes) {
        Known &known = m_known[process.pid];
        if (known.inode != process.inode) {
            // Those of the first take were there before; only later ones have just come.
            known = {.inode = process.inode,
                     .firstSearch = m_take == 1 ? 0 : nextSearch,
                     .lastTake = 0,
                     .descriptors = -1,
                     .compared = -1};
        }
        known.lastTake = m_take;
    }
    std::erase_if(m_known, [this](const auto &entry) { return entry.second.lastTake != m_take; });
    return m_processes;
}

std::vector<pid_t> ProcessCensus::newcomers() const
{
    // A process that was only just made when it was seen first may get its descriptors a moment
    // later; so it counts as new once more.
    std::vector<pid_t> found;
    for (const ProcFs::ProcessEntry &process : m_processes) {
        const auto known = m_known.find(process.pid);
        if (known != m_known.end() && known->second.firstSearch + 1 >= m_search) {
            found.push_back(process.pid);
        }
    }
    return found;
}

std::vector<pid_t> ProcessCensus::changed()
{
    std::vector<pid_t> found;
    const std::vector<std::int64_t> counts = descriptorCounts(m_root, m_processes);
    for (std::size_t at = 0; at < m_processes.size(); ++at) {
        Known &known = m_known[m_processes[at].pid];
        const std::int64_t before = std::exchange(known.descriptors, counts[at]);
        if (counts[at] < 0 || counts[at] != before) {
            found.push_back(m_processes[at].pid);
        }
    }
    return found;
}

std::vector<ProcFs::ProcessEntry> ProcessCensus::takeUncompared()
{
    std::vector<ProcFs::ProcessEntry> found;
    const std::vector<std::int64_t> counts = descriptorCounts(m_root, m_processes);
    for (std::size_t at = 0; at < m_processes.size(); ++at) {
        Known &known = m_known[m_processes[at].pid];
        const std::int64_t before = std::exchange(known.compared, counts[at]);
        if (counts[at] < 0 || counts[at] != before) {
            found.push_back(m_processes[at]);
        }
    }
    return found;
}

void ProcessCensus::noteCompared(pid_t pid, std::int64_t descriptors)
{
    if (const auto known = m_known.find(pid); known != m_known.end()) {
        known->second.compared = descriptors;
    }
}

void ProcessCensus::remember(pid_t pid, std::int64_t descriptors)
{
    if (const auto known = m_known.find(pid); known != m_known.end()) {
        known->second.descriptors = descriptors;
    }
}

} // namespace Tarnwick
