// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HolderSearch.h"

#include "Helper/linux/DescriptorTables.h"
#include "Helper/linux/ParallelLoop.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

#include <sys/stat.h>

namespace Tarnwick {

namespace {

/// Where the bands end. Most servers' listening sockets have a number in the first, those of
/// runtimes that open more for themselves in the second; what is left is the third.
constexpr std::array<unsigned, 2> bandEnds{16, 32};
/// A process with very many descriptors is split into pieces of this size for the threads.
constexpr unsigned longestStretch = 512;
/// With fewer numbers to look at than this, threads cost more than they save.
constexpr std::size_t worthThreads = 3072;
/// What a process costs beside its descriptors, as many numbers.
constexpr std::size_t costOfProcess = 3;
/// The same where only their number is asked for, counted in processes.
constexpr std::size_t worthThreadsForCounts = 256;

/// The size of the directory PID/fd, which is the number of descriptors since Linux 6.2.
std::int64_t sizeOf(int descriptors)
{
    struct stat status = {};
    const bool told = ::fstat(descriptors, &status) == 0;
    SystemFailures::note("fstat", told ? 0 : errno);
    return told ? status.st_size : 0;
}

bool kernelTellsCounts(int root)
{
    const FileDescriptor own = ProcFs::openDirectory(root, "self/fd");
    return own && sizeOf(own.get()) > 0;
}

FileDescriptor openDescriptors(int root, pid_t pid, pid_t thread)
{
    const std::string name = thread == 0 ? "/fd" : "/task/" + std::to_string(thread) + "/fd";
    return ProcFs::openDirectoryOfProcess(root, pid, name);
}

} // namespace

HolderSearch::HolderSearch(int root, std::span<const ListeningSocket> sockets, const Limits &limits)
    : m_root(root)
    , m_limits(limits)
    , m_countsTold(kernelTellsCounts(root))
{
    m_index.reserve(sockets.size());
    for (std::uint32_t socket = 0; socket < sockets.size(); ++socket) {
        if (sockets[socket].inode != 0) {
            m_index.push_back({sockets[socket].inode, socket});
        }
    }
    std::sort(m_index.begin(), m_index.end());
}

const HolderSearch::Visited &HolderSearch::visit(pid_t pid)
{
    const auto known = m_visited.find(pid);
    if (known != m_visited.end() && known->second.complete) {
        return known->second;
    }
    std::array<Stretch, 1> whole{Stretch{
        .pid = pid, .to = everything, .allowance = m_limits.process, .result = {}, .found = {}}};
    run(whole);
    return m_visited[pid];
}

bool HolderSearch::visitAll(std::span<const ProcFs::ProcessEntry> processes, const Settled &settled)
{
    std::vector<Progress> unfinished = begin(processes);
    for (const unsigned end : bandEnds) {
        const unsigned looked = m_countsTold ? end : everything;
        visitBand(unfinished, looked);
        if (settled(looked)) {
            return true;
        }
        if (unfinished.empty()) {
            return false;
        }
    }
    visitRest(unfinished);
    return false;
}

std::vector<HolderSearch::Progress>
HolderSearch::begin(std::span<const ProcFs::ProcessEntry> processes) const
{
    std::vector<Progress> unfinished;
    unfinished.reserve(processes.size());
    for (const ProcFs::ProcessEntry &process : processes) {
        const auto known = m_visited.find(process.pid);
        if (known == m_visited.end() || !known->second.complete) {
            unfinished.push_back({.pid = process.pid, .looked = 0, .hits = 0, .descriptors = -1});
        }
    }
    return unfinished;
}

void HolderSearch::visitBand(std::vector<Progress> &unfinished, unsigned end)
{
    std::vector<Stretch> stretches;
    stretches.reserve(unfinished.size());
    for (const Progress &progress : unfinished) {
        stretches.push_back({.pid = progress.pid,
                             .from = progress.looked,
                             .to = end,
                             .missing = progress.descriptors - progress.hits,
                             .allowance = m_limits.process - progress.work,
                             .result = {},
                             .hits = 0,
                             .found = {}});
    }
    advance(unfinished, stretches);
}

void HolderSearch::visitRest(std::vector<Progress> &unfinished)
{
    // As many numbers as descriptors are missing: a table without gaps is then read to its end
    // without the directory being listed, which costs nearly half as much as the links themselves.
    std::vector<Stretch> pieces;
    // Who has few descriptors is not to wait, and then be left out, for one who has very many.
    std::stable_sort(unfinished.begin(), unfinished.end(),
                     [](const Progress &left, const Progress &right) {
                         return left.descriptors < right.descriptors;
                     });
    for (const Progress &progress : unfinished) {
        const std::int64_t allowed = static_cast<std::int64_t>(m_limits.process - progress.work);
        const auto missing = static_cast<unsigned>(
            std::clamp<std::int64_t>(progress.descriptors - progress.hits, 0, allowed));
        const unsigned end = progress.looked + missing;
        for (unsigned from = progress.looked; from < end; from += longestStretch) {
            pieces.push_back({.pid = progress.pid,
                              .from = from,
                              .to = std::min(from + longestStretch, end),
                              .missing = std::min(longestStretch, missing),
                              .allowance = longestStretch,
                              .result = {},
                              .hits = 0,
                              .found = {}});
        }
    }
    advance(unfinished, pieces);
    visitBand(unfinished, everything);
}

/// Looks at stretches of these processes, in their order, and drops the processes that are
/// finished.
void HolderSearch::advance(std::vector<Progress> &unfinished, std::span<Stretch> stretches)
{
    run(stretches);
    auto stretch = stretches.begin();
    for (Progress &progress : unfinished) {
        for (; stretch != stretches.end() && stretch->pid == progress.pid; ++stretch) {
            progress.looked = stretch->to;
            progress.hits += stretch->hits;
            progress.work = std::min(m_limits.process, progress.work + stretch->work);
            progress.descriptors = std::max(progress.descriptors, stretch->result.descriptors);
        }
        Visited &visited = m_visited[progress.pid];
        visited.complete = visited.complete ||
                           (progress.descriptors >= 0 && progress.hits >= progress.descriptors);
    }
    std::erase_if(unfinished,
                  [this](const Progress &progress) { return m_visited[progress.pid].complete; });
}

void HolderSearch::run(std::span<Stretch> stretches)
{
    std::size_t numbers = 0;
    for (const Stretch &stretch : stretches) {
        // How many there are is not known of a process before the first look at it.
        const std::int64_t expected = stretch.missing < 0 ? bandEnds.front() : stretch.missing;
        numbers += costOfProcess + static_cast<std::size_t>(expected);
    }
    parallelLoop(stretches.size(), numbers >= worthThreads ? Parallel::WhereItHelps : Parallel::No,
                 [this, stretches](std::size_t index) { look(stretches[index]); });
    for (const Stretch &stretch : stretches) {
        Visited &visited = m_visited[stretch.pid];
        visited.complete = visited.complete || stretch.result.complete;
        visited.readable = visited.readable || stretch.result.readable;
        visited.descriptors = std::max(visited.descriptors, stretch.result.descriptors);
        if (!stretch.found.empty()) {
            m_holders.insert(m_holders.end(), stretch.found.begin(), stretch.found.end());
            m_sorted = false;
        }
    }
}

/// Whether there is work left for a stretch that has done this much; if not, it is cut.
bool HolderSearch::mayWork(std::uint64_t done, std::uint64_t allowance)
{
    constexpr std::uint64_t betweenLooksAtTheClock = 256;
    const bool isLate =
        done % betweenLooksAtTheClock == 0 && std::chrono::steady_clock::now() > m_limits.deadline;
    const bool may = done < allowance && m_work + done < m_limits.total && !isLate;
    m_cut = m_cut || !may;
    return may;
}

void HolderSearch::look(Stretch &stretch)
{
    if (!mayWork(0, stretch.allowance)) {
        stretch.result.complete = true;
        return;
    }
    const FileDescriptor descriptors = openDescriptors(m_root, stretch.pid, stretch.thread);
    if (!descriptors) {
        stretch.result.complete = true;
        // Its other threads have all that it has.
        if (stretch.thread == 0 && ProcFs::isOwnWithoutMainThread(m_root, stretch.pid)) {
            stretch.result.readable = true;
            stretch.result.descriptors = 0;
        }
        return;
    }
    stretch.result.readable = true;
    if (m_countsTold) {
        stretch.result.descriptors = sizeOf(descriptors.get());
    }
    lookAtNumbers(descriptors.get(), stretch);
    m_work += stretch.work;
}

void HolderSearch::lookAtNumbers(int descriptors, Stretch &stretch)
{
    if (stretch.to == everything) {
        std::vector<ProcFs::NumberedEntry> entries;
        ProcFs::readNumbers(descriptors, entries, stretch.from + stretch.allowance + 1);
        for (const ProcFs::NumberedEntry &entry : entries) {
            if (entry.number >= stretch.from && !lookAtNumber(descriptors, entry.number, stretch)) {
                return;
            }
        }
        stretch.result.complete = true;
        return;
    }
    // Where the stretch begins the process, how many there are is known only now.
    const std::int64_t missing = stretch.from == 0 ? stretch.result.descriptors : stretch.missing;
    for (unsigned number = stretch.from; number < stretch.to && stretch.hits < missing; ++number) {
        if (!lookAtNumber(descriptors, number, stretch)) {
            return;
        }
    }
}

/// False when the process is not ours to look at, or nothing more is to be done for it.
bool HolderSearch::lookAtNumber(int descriptors, unsigned number, Stretch &stretch)
{
    if (!mayWork(stretch.work, stretch.allowance)) {
        stretch.result.complete = true;
        return false;
    }
    ++stretch.work;
    const ProcFs::Descriptor seen = ProcFs::descriptor(descriptors, number);
    if (seen.kind == ProcFs::Descriptor::Kind::Denied) {
        stretch.result.readable = false;
        stretch.result.complete = true;
        return false;
    }
    stretch.hits += seen.kind == ProcFs::Descriptor::Kind::None ? 0 : 1;
    if (seen.kind != ProcFs::Descriptor::Kind::Socket) {
        return true;
    }
    auto match = std::lower_bound(m_index.begin(), m_index.end(), Indexed{seen.inode, 0});
    for (; match != m_index.end() && match->inode == seen.inode; ++match) {
        stretch.found.push_back({match->socket, stretch.pid, number, stretch.thread});
    }
    return true;
}

unsigned HolderSearch::bandOf(unsigned number)
{
    return static_cast<unsigned>(std::count_if(bandEnds.begin(), bandEnds.end(),
                                               [number](unsigned end) { return end <= number; }));
}

void HolderSearch::visitThreads(std::span<const ProcFs::ProcessEntry> processes,
                                ThreadScanBackoff &backoff)
{
    if (ProcFs::numbering(m_root) == ProcFs::Numbering::Foreign) {
        return;
    }
    struct Threaded
    {
        std::size_t threads = 0;
        ProcFs::ProcessEntry process;
        std::uint64_t work = 0;
        std::vector<Holder> found;
    };
    std::vector<Threaded> threaded(processes.size());
    const Parallel parallel =
        processes.size() >= worthThreadsForCounts ? Parallel::WhereItHelps : Parallel::No;
    parallelLoop(processes.size(), parallel, [&](std::size_t at) {
        const auto known = m_visited.find(processes[at].pid);
        if (known != m_visited.end() && known->second.readable) {
            threaded[at].process = processes[at];
            threaded[at].threads = ProcFs::threadCount(m_root, processes[at].pid);
        }
    });
    std::erase_if(threaded, [](const Threaded &process) { return process.threads <= 1; });
    const std::size_t omitted = std::erase_if(
        threaded, [&backoff](const Threaded &process) { return !backoff.isDue(process.process); });
    m_omitsThreads = m_omitsThreads || omitted > 0;
    std::stable_sort(
        threaded.begin(), threaded.end(),
        [](const Threaded &left, const Threaded &right) { return left.threads < right.threads; });
    parallelLoop(threaded.size(), parallel, [&](std::size_t at) {
        threaded[at].work = lookAtThreads(threaded[at].process.pid, threaded[at].found);
    });
    for (const Threaded &process : threaded) {
        backoff.note(process.process, process.work, !process.found.empty());
        m_holders.insert(m_holders.end(), process.found.begin(), process.found.end());
        m_sorted = m_sorted && process.found.empty();
    }
}

std::uint64_t HolderSearch::lookAtThreads(pid_t pid, std::vector<Holder> &found)
{
    std::vector<ProcFs::NumberedEntry> threads;
    const FileDescriptor folder = ProcFs::openDirectoryOfProcess(m_root, pid, "/task");
    if (folder) {
        ProcFs::readNumbers(folder.get(), threads, m_limits.process);
    }
    // A process without any descriptors has lost its main thread.
    DescriptorTables tables(m_visited.at(pid).descriptors != 0 ? pid : 0);
    std::uint64_t work = 0;
    for (const ProcFs::NumberedEntry &entry : threads) {
        const auto thread = static_cast<pid_t>(entry.number);
        const std::uint64_t before = tables.comparisons();
        if (!mayWork(work, m_limits.process)) {
            break;
        }
        const bool isNew = thread != pid && tables.add(thread);
        const std::uint64_t compared = tables.comparisons() - before;
        m_work += compared;
        work += compared;
        if (isNew) {
            Stretch stretch{.pid = pid,
                            .thread = thread,
                            .to = everything,
                            .allowance = m_limits.process - std::min(work, m_limits.process),
                            .result = {},
                            .found = {}};
            look(stretch);
            work += costOfProcess + stretch.work;
            m_work += costOfProcess;
            found.insert(found.end(), stretch.found.begin(), stretch.found.end());
        }
    }
    return work;
}

void HolderSearch::add(const Holder &holder)
{
    m_holders.push_back(holder);
    m_sorted = false;
}

std::span<const Holder> HolderSearch::holders()
{
    if (!m_sorted) {
        std::sort(m_holders.begin(), m_holders.end());
        const auto sameProcess = [](const Holder &left, const Holder &right) {
            return left.socket == right.socket && left.pid == right.pid;
        };
        m_holders.erase(std::unique(m_holders.begin(), m_holders.end(), sameProcess),
                        m_holders.end());
        m_sorted = true;
    }
    return m_holders;
}

std::span<const Holder> HolderSearch::holders(std::uint32_t socket)
{
    const std::span<const Holder> all = holders();
    const auto bySocket = [](const Holder &left, const Holder &right) {
        return left.socket < right.socket;
    };
    const auto [first, last] =
        std::equal_range(all.begin(), all.end(), Holder{.socket = socket}, bySocket);
    return all.subspan(static_cast<std::size_t>(first - all.begin()),
                       static_cast<std::size_t>(last - first));
}

std::vector<std::int64_t> descriptorCounts(int root,
                                           std::span<const ProcFs::ProcessEntry> processes)
{
    std::vector<std::int64_t> counts(processes.size(), -1);
    if (!kernelTellsCounts(root)) {
        return counts;
    }
    constexpr std::size_t block = 64;
    const std::size_t blocks = (processes.size() + block - 1) / block;
    const Parallel parallel =
        processes.size() >= worthThreadsForCounts ? Parallel::WhereItHelps : Parallel::No;
    parallelLoop(blocks, parallel, [&](std::size_t index) {
        const std::size_t end = std::min(processes.size(), (index + 1) * block);
        for (std::size_t at = index * block; at < end; ++at) {
            counts[at] = ProcFs::sizeOfDescriptorTable(root, processes[at].pid);
        }
    });
    return counts;
}

} // namespace Tarnwick
