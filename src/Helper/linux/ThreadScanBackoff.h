// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ProcFs.h"

#include <cstdint>
#include <span>
#include <unordered_map>

namespace Tarnwick {

/// Keeps a process of very many threads from costing each listing what a search among them may
/// cost at most. Where such a search was expensive and found nothing, the next ones leave the
/// process out, for a number of listings that doubles each time. Lives as long as the inventory,
/// and belongs to its thread.
class ThreadScanBackoff
{
public:
    /// From how much work on, counted as in HolderSearch, a search is expensive.
    static constexpr std::uint64_t expensive = 5'000;
    /// How many listings leave a process out at most.
    static constexpr std::uint64_t maxPause = 64;

    /// Begins a listing, whose number is greater than those of earlier ones.
    void beginListing(std::uint64_t listing) { m_listing = listing; }

    /// Whether the threads of @p process are to be searched in this listing. A listing that
    /// searches several times may search them each time.
    [[nodiscard]] bool isDue(const ProcFs::ProcessEntry &process) const;

    /// Notes what a search among the threads of @p process has cost, and whether it found a socket.
    void note(const ProcFs::ProcessEntry &process, std::uint64_t work, bool hasFound);

    /// Forgets processes that are not among @p processes, which are in ascending order.
    void retain(std::span<const ProcFs::ProcessEntry> processes);

private:
    struct Pause
    {
        std::uint64_t inode = 0; ///< of the process's directory
        std::uint64_t searchedAt = 0;
        std::uint64_t length = 0; ///< in listings
    };

    std::uint64_t m_listing = 0;
    std::unordered_map<pid_t, Pause> m_pauses;
};

} // namespace Tarnwick
