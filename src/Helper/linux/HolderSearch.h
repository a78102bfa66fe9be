// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ProcFs.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/ThreadScanBackoff.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

/// A process that has a socket open.
struct Holder
{
    std::uint32_t socket = 0; ///< index into the sockets that were searched for
    pid_t pid = 0;
    unsigned descriptor = 0; ///< its lowest number for the socket
    pid_t thread = 0;        ///< the thread whose number that is; 0 where all threads share it

    // NOLINTNEXTLINE(modernize-use-nullptr): a false alarm of clang-tidy 14
    friend auto operator<=>(const Holder &, const Holder &) = default;
};

/// Finds the processes that hold given sockets, through /proc/PID/fd.
///
/// Reading every descriptor of every process is what makes this slow, and most listening sockets
/// have a low number, for a server opens them early. So the whole machine is looked at in bands of
/// numbers, each band in every process before the next, and the search ends with the band in which
/// the last socket turns up. A child inherits a descriptor under its number; so a finished band
/// knows every process that inherited one of the band's sockets, not just the first. Large searches
/// use a few threads.
///
/// PID/fd is what the main thread has. A thread may have descriptors of its own (CLONE_FILES of
/// unshare(2)), and a main thread that has ended has none any more: only visitThreads() sees those.
///
/// Other processes decide how much there is to look at. So the work on each process and on all of
/// them is bounded, and processes with much to look at come last: one with a great many descriptors
/// or threads costs the others nothing but time, and of that not much.
class HolderSearch
{
public:
    /// What a look at a process told about it beside its sockets.
    struct Visited
    {
        /// Number of open descriptors, as PID/fd tells it by its size (since Linux 6.2); negative
        /// where it does not.
        std::int64_t descriptors = -1;
        bool readable = false; ///< false when its descriptors are not ours to look at
        bool complete = false; ///< whether all of its descriptors have been looked at
    };

    /// How long a search may take where nothing else is said.
    static constexpr std::chrono::milliseconds defaultTime{3000};

    /// The most that a search does. Work is counted in looks at a descriptor, each of which takes
    /// about a microsecond, and in steps that cost as much.
    struct Limits
    {
        std::uint64_t process = 200'000; ///< work on one process
        std::uint64_t total = 2'000'000; ///< work on all
        /// Several searches with one purpose have one deadline.
        std::chrono::steady_clock::time_point deadline =
            std::chrono::steady_clock::now() + defaultTime;
    };

    /// @p sockets must outlive the search; those with inode 0 are never found.
    HolderSearch(int root, std::span<const ListeningSocket> sockets)
        : HolderSearch(root, sockets, Limits())
    {
    }
    HolderSearch(int root, std::span<const ListeningSocket> sockets, const Limits &limits);

    /// Whether a limit kept the search from looking at something.
    [[nodiscard]] bool isCut() const { return m_cut; }
    /// Whether visitThreads() left out the threads of a process that were not due.
    [[nodiscard]] bool omitsThreads() const { return m_omitsThreads; }
    /// The work done up to now.
    [[nodiscard]] std::uint64_t work() const { return m_work; }

    /// Looks at all descriptors of @p pid, unless that was done before.
    const Visited &visit(pid_t pid);

    /// Takes a holder for found that is known without a look.
    void add(const Holder &holder);

    /// Whether what was found will do, once all numbers below @p looked have been looked at.
    using Settled = std::function<bool(unsigned looked)>;

    /// Looks at the processes given, band after band, until @p settled says so, or until everything
    /// was looked at. Whether it was @p settled.
    bool visitAll(std::span<const ProcFs::ProcessEntry> processes, const Settled &settled);

    /// Looks at the descriptors that the main threads of these processes, which have been visited,
    /// do not have. Those that are not due by @p backoff are left out, see omitsThreads().
    void visitThreads(std::span<const ProcFs::ProcessEntry> processes, ThreadScanBackoff &backoff);

    /// In which band a number is; 0 for the lowest. Where the kernel does not tell how many
    /// descriptors a process has, all bands are looked at together.
    [[nodiscard]] static unsigned bandOf(unsigned number);

    /// What was found up to now, ordered by socket and then process.
    [[nodiscard]] std::span<const Holder> holders();

    /// Those of one socket.
    [[nodiscard]] std::span<const Holder> holders(std::uint32_t socket);

    [[nodiscard]] const std::unordered_map<pid_t, Visited> &visited() const { return m_visited; }

private:
    struct Indexed
    {
        std::uint32_t inode = 0;
        std::uint32_t socket = 0;
        // NOLINTNEXTLINE(modernize-use-nullptr): a false alarm of clang-tidy 14
        friend auto operator<=>(const Indexed &, const Indexed &) = default;
    };

    /// A stretch of one process's descriptor numbers to look at, and what came of it.
    struct Stretch
    {
        pid_t pid = 0;
        pid_t thread = 0;
        unsigned from = 0;
        unsigned to = 0;             ///< one past the last; `everything` for all from `from` on
        std::int64_t missing = 0;    ///< ends early when it has met this many descriptors
        std::uint64_t allowance = 0; ///< the most work to do
        Visited result;
        std::int64_t hits = 0; ///< numbers in use
        std::uint64_t work = 0;
        std::vector<Holder> found;
    };
    static constexpr unsigned everything = ~0U;

    /// How far the look at a process has come.
    struct Progress
    {
        pid_t pid = 0;
        unsigned looked = 0;   ///< numbers below this have been looked at
        std::int64_t hits = 0; ///< how many of them are in use
        std::int64_t descriptors = -1;
        std::uint64_t work = 0; ///< done on it
    };

    void run(std::span<Stretch> stretches);
    void look(Stretch &stretch);
    void lookAtNumbers(int descriptors, Stretch &stretch);
    /// The work that it took.
    std::uint64_t lookAtThreads(pid_t pid, std::vector<Holder> &found);
    bool lookAtNumber(int descriptors, unsigned number, Stretch &stretch);
    [[nodiscard]] bool mayWork(std::uint64_t done, std::uint64_t allowance);
    [[nodiscard]] std::vector<Progress>
    begin(std::span<const ProcFs::ProcessEntry> processes) const;
    void visitBand(std::vector<Progress> &unfinished, unsigned end);
    void visitRest(std::vector<Progress> &unfinished);
    void advance(std::vector<Progress> &unfinished, std::span<Stretch> stretches);

    int m_root;
    Limits m_limits;
    std::atomic<std::uint64_t> m_work{0};
    std::atomic<bool> m_cut{false};
    bool m_omitsThreads = false;
    bool m_countsTold; ///< whether this kernel tells the number of descriptors
    std::vector<Indexed> m_index;
    std::unordered_map<pid_t, Visited> m_visited;
    std::vector<Holder> m_holders;
    bool m_sorted = true;
};

/// The number of open descriptors of each process; negative where it is not ours to see, or where
/// the kernel does not tell.
[[nodiscard]] std::vector<std::int64_t>
descriptorCounts(int root, std::span<const ProcFs::ProcessEntry> processes);

} // namespace Tarnwick
