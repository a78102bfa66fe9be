// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ProcFs.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

/// Remembers which processes there were, and how many descriptors each had open, so that after a
/// change only those have to be looked at that can have something to do with it.
class ProcessCensus
{
public:
    explicit ProcessCensus(int root);

    /// What one read of the kernel's counters in /proc/loadavg tells; everything is true when it
    /// cannot be read.
    struct Pulse
    {
        /// Processes have come or gone since the call before: the number of tasks or the identifier
        /// given out last is another.
        bool processesChanged = true;
        /// Something else than this thread runs, or is ready to, at this moment.
        bool othersRun = true;
    };
    [[nodiscard]] Pulse pulse();

    /// What a take is for.
    enum class Purpose {
        Search,    ///< for the owners of sockets
        Comparison ///< of the owners with other processes, see takeUncompared()
    };

    /// All processes there are now, in ascending order.
    std::span<const ProcFs::ProcessEntry> take(Purpose purpose);

    /// Of those taken last, the ones that were not there at the search before or had only just
    /// come.
    [[nodiscard]] std::vector<pid_t> newcomers() const;

    /// Of those taken last, the ones whose number of descriptors is another than it was, or cannot
    /// be told. Counts them, and remembers the numbers.
    [[nodiscard]] std::vector<pid_t> changed();

    /// Remembers how many descriptors a process had when it was looked at.
    void remember(pid_t pid, std::int64_t descriptors);

    /// Those taken last.
    [[nodiscard]] std::span<const ProcFs::ProcessEntry> processes() const { return m_processes; }

    /// Of those taken last, the ones whose number of descriptors is another than when they were
    /// compared with the owners of all sockets, or cannot be told. Counts them, and takes them for
    /// compared.
    [[nodiscard]] std::vector<ProcFs::ProcessEntry> takeUncompared();

    /// Notes that a process was compared with the owners of all sockets when it had so many
    /// descriptors; negative for one that has to be compared again.
    void noteCompared(pid_t pid, std::int64_t descriptors);

private:
    struct Known
    {
        std::uint64_t inode = 0;
        std::uint64_t firstSearch = 0; ///< the first one that may meet it
        std::uint64_t lastTake = 0;
        std::int64_t descriptors = -1;
        std::int64_t compared = -1; ///< descriptors when it was compared with the owners last
    };

    int m_root;
    FileDescriptor m_loadAverage;
    std::string m_counters;
    std::uint64_t m_take = 0;
    std::uint64_t m_search = 0;
    std::vector<ProcFs::ProcessEntry> m_processes;
    std::unordered_map<pid_t, Known> m_known;
};

} // namespace Tarnwick
