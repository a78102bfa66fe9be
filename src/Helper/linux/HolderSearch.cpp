// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HolderSearch.h"

#include "Helper/linux/ParallelLoop.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

/// The first band: nearly every server's listening socket has a number below this.
constexpr unsigned firstBandEnd = 16;
/// A process with very many descriptors is split into pieces of this size for the threads.
constexpr unsigned longestStretch = 1024;
/// Below this many pieces of work a thread costs more than it saves.
constexpr std::size_t worthThreads = 192;

/// The size of the directory PID/fd, which is the number of descriptors since Linux 6.2.
std::int64_t sizeOf(int descriptors)
{
    struct stat status = {};
    return ::fstat(descriptors, &status) == 0 ? status.st_size : 0;
}

bool kernelTellsCounts(int root)
{
    const FileDescriptor own = ProcFs::openDirectory(root, "self/fd");
    return own && sizeOf(own.get()) > 0;
}

FileDescriptor openDescriptors(int root, pid_t pid)
{
    return ProcFs::openDirectoryOfProcess(root, pid, "/fd");
}

} // namespace

HolderSearch::HolderSearch(int root, std::span<const ListeningSocket> sockets)
    : m_root(root)
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
    std::array<Stretch, 1> whole{
        Stretch{.pid = pid, .from = 0, .to = everything, .result = {}, .hits = 0, .found = {}}};
    run(whole);
    return m_visited[pid];
}

void HolderSearch::visitAll(std::span<const ProcFs::ProcessEntry> processes,
                            const std::function<bool()> &settled)
{
    std::vector<Stretch> first;
    first.reserve(processes.size());
    for (const ProcFs::ProcessEntry &process : processes) {
        const auto known = m_visited.find(process.pid);
        if (known == m_visited.end() || !known->second.complete) {
            first.push_back({.pid = process.pid,
                             .from = 0,
                             .to = m_countsTold ? firstBandEnd : everything,
                             .result = {},
                             .hits = 0,
                             .found = {}});
        }
    }
    run(first);
    if (!settled()) {
        visitRest(first);
    }
}

void HolderSearch::visitRest(std::span<const Stretch> begun)
{
    // As many numbers as descriptors are missing: a table without gaps is then read to its end
    // without the directory being listed, which costs nearly half as much as the links themselves.
    std::vector<Stretch> probes;
    for (const Stretch &stretch : begun) {
        if (stretch.result.complete) {
            continue;
        }
        const auto missing = static_cast<unsigned>(
            std::max<std::int64_t>(0, stretch.result.descriptors - stretch.hits));
        for (unsigned from = stretch.to; from < stretch.to + missing; from += longestStretch) {
            Stretch piece{.pid = stretch.pid,
                          .from = from,
                          .to = std::min(from + longestStretch, stretch.to + missing),
                          .result = {},
                          .hits = 0,
                          .found = {}};
            probes.push_back(std::move(piece));
        }
    }
    run(probes);

    std::vector<Stretch> remainders;
    auto piece = probes.begin();
    for (const Stretch &stretch : begun) {
        std::int64_t hits = stretch.hits;
        unsigned looked = stretch.to;
        for (; piece != probes.end() && piece->pid == stretch.pid; ++piece) {
            hits += piece->hits;
            looked = piece->to;
        }
        if (stretch.result.complete) {
            continue;
        }
        if (hits >= stretch.result.descriptors) {
            m_visited[stretch.pid].complete = true;
            continue;
        }
        remainders.push_back({.pid = stretch.pid,
                              .from = looked,
                              .to = everything,
                              .result = {},
                              .hits = 0,
                              .found = {}});
    }
    run(remainders);
}

void HolderSearch::run(std::span<Stretch> stretches)
{
    parallelLoop(stretches.size(), worthThreads,
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

void HolderSearch::look(Stretch &stretch) const
{
    const FileDescriptor descriptors = openDescriptors(m_root, stretch.pid);
    if (!descriptors) {
        stretch.result.complete = true;
        return;
    }
    stretch.result.readable = true;
    if (m_countsTold) {
        stretch.result.descriptors = sizeOf(descriptors.get());
    }
    if (stretch.to == everything) {
        std::vector<ProcFs::NumberedEntry> entries;
        ProcFs::readNumbers(descriptors.get(), entries);
        for (const ProcFs::NumberedEntry &entry : entries) {
            if (entry.number >= stretch.from &&
                !lookAtNumber(descriptors.get(), entry.number, stretch)) {
                return;
            }
        }
        stretch.result.complete = true;
        return;
    }
    // A stretch from the start is complete when it has met every descriptor that there is.
    const bool countable = stretch.from == 0;
    for (unsigned number = stretch.from; number < stretch.to; ++number) {
        if (countable && stretch.hits >= stretch.result.descriptors) {
            break;
        }
        if (!lookAtNumber(descriptors.get(), number, stretch)) {
            return;
        }
    }
    stretch.result.complete = countable && stretch.hits >= stretch.result.descriptors;
}

/// False when the process is not ours to look at.
bool HolderSearch::lookAtNumber(int descriptors, unsigned number, Stretch &stretch) const
{
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
        stretch.found.push_back({match->socket, stretch.pid, number});
    }
    return true;
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
        std::equal_range(all.begin(), all.end(), Holder{socket, 0, 0}, bySocket);
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
    parallelLoop(blocks, 4, [&](std::size_t index) {
        const std::size_t end = std::min(processes.size(), (index + 1) * block);
        for (std::size_t at = index * block; at < end; ++at) {
            counts[at] = ProcFs::sizeOfDescriptorTable(root, processes[at].pid);
        }
    });
    return counts;
}

} // namespace Tarnwick
