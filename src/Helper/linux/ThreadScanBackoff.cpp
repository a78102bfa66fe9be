// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ThreadScanBackoff.h"

#include <algorithm>

namespace Tarnwick {

bool ThreadScanBackoff::isDue(const ProcFs::ProcessEntry &process) const
{
    const auto known = m_pauses.find(process.pid);
    if (known == m_pauses.end() || known->second.inode != process.inode) {
        return true;
    }
    const Pause &pause = known->second;
    return pause.searchedAt == m_listing || pause.searchedAt + pause.length < m_listing;
}

void ThreadScanBackoff::note(const ProcFs::ProcessEntry &process, std::uint64_t work, bool hasFound)
{
    if (work < expensive || hasFound) {
        m_pauses.erase(process.pid);
        return;
    }
    Pause &pause = m_pauses[process.pid];
    if (pause.inode != process.inode) {
        pause = {.inode = process.inode};
    }
    if (pause.searchedAt != m_listing) {
        pause.searchedAt = m_listing;
        pause.length = std::clamp<std::uint64_t>(pause.length * 2, 1, maxPause);
    }
}

void ThreadScanBackoff::retain(std::span<const ProcFs::ProcessEntry> processes)
{
    std::erase_if(m_pauses, [processes](const auto &entry) {
        return !std::binary_search(processes.begin(), processes.end(),
                                   ProcFs::ProcessEntry{entry.first, entry.second.inode});
    });
}

} // namespace Tarnwick
