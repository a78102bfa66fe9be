// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/OwnerMemory.h"

#include <algorithm>

#include <sys/resource.h>

namespace Tarnwick {

namespace {

/// The soft limit of descriptors, less what the rest of the program and a look at the machine need,
/// shared among processes.
std::size_t mostOpenProcesses()
{
    constexpr rlim_t reserved = 128;
    constexpr rlim_t plenty = 65536;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= reserved) {
        return 0;
    }
    const rlim_t usable = std::min(limit.rlim_cur, plenty) - reserved;
    return static_cast<std::size_t>(usable / ProcessInspector::mostDescriptors);
}

} // namespace

OwnerMemory::OwnerMemory(int root)
    : m_root(root)
    , m_mostOpen(mostOpenProcesses())
{
}

void OwnerMemory::check(std::span<const ListeningSocket> sockets, const BootClock &clock,
                        ProcessInspector::Reading reading)
{
    ++m_listing;
    const Timestamp now =
        std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    m_places.clear();
    m_places.reserve(sockets.size());
    for (auto &[pid, process] : m_processes) {
        process.places.clear();
    }
    for (std::uint32_t place = 0; place < sockets.size(); ++place) {
        const auto [entry, isNew] = m_sockets.try_emplace(sockets[place].key());
        KnownSocket &known = entry->second;
        if (isNew) {
            known.firstSeen = now;
        } else if (known.attribution != KnownSocket::Attribution::None) {
            m_processes[known.owner].places.push_back(place);
        }
        known.verified = false;
        known.lastListing = isNew ? 0 : m_listing;
        m_places.push_back(&known);
    }

    for (auto &[pid, process] : m_processes) {
        if (!process.places.empty()) {
            verify(process, sockets, clock, reading);
        }
    }
}

void OwnerMemory::verify(Process &process, std::span<const ListeningSocket> sockets,
                         const BootClock &clock, ProcessInspector::Reading reading)
{
    if (!process.inspector || !process.inspector->reopen() ||
        !process.inspector->refresh(clock, reading)) {
        process.inspector.reset();
        return;
    }
    process.readAt = m_listing;
    for (const std::uint32_t place : process.places) {
        KnownSocket &known = *m_places[place];
        if (known.attribution == KnownSocket::Attribution::Grouped) {
            known.verified = true;
            continue;
        }
        if (process.inspector->hasRun() || !known.seen) {
            known.seen = process.inspector->holds(known.descriptor, sockets[place].inode);
        }
        known.verified = known.seen;
    }
}

bool OwnerMemory::isNew(std::size_t place) const
{
    return m_places[place]->lastListing == 0;
}

bool OwnerMemory::assign(std::size_t place, pid_t pid, KnownSocket::Attribution attribution,
                         const BootClock &clock)
{
    Process &process = m_processes[pid];
    if (process.readAt != m_listing || !process.inspector) {
        process.inspector = ProcessInspector::open(m_root, pid);
        if (!process.inspector || !process.inspector->refresh(clock)) {
            process.inspector.reset();
            return false;
        }
        process.readAt = m_listing;
    }
    KnownSocket &known = *m_places[place];
    known.attribution = attribution;
    known.owner = pid;
    known.verified = true;
    known.seen = false;
    return true;
}

const ProcessInspector *OwnerMemory::owner(std::size_t place) const
{
    const KnownSocket &known = *m_places[place];
    if (!known.verified) {
        return nullptr;
    }
    const auto process = m_processes.find(known.owner);
    return process == m_processes.end() ? nullptr : process->second.inspector.get();
}

void OwnerMemory::finish()
{
    for (KnownSocket *known : m_places) {
        known->lastListing = m_listing;
        if (known->verified) {
            m_processes[known->owner].ownsAt = m_listing;
        }
    }
    m_places.clear();
    std::erase_if(m_sockets,
                  [this](const auto &entry) { return entry.second.lastListing != m_listing; });
    std::erase_if(m_processes,
                  [this](const auto &entry) { return entry.second.ownsAt != m_listing; });
    std::size_t open = 0;
    for (auto &[pid, process] : m_processes) {
        if (process.inspector && ++open > m_mostOpen) {
            process.inspector->release();
        }
    }
}

std::optional<ProcessIdentity> OwnerMemory::listed(pid_t pid) const
{
    const auto process = m_processes.find(pid);
    if (process == m_processes.end() || !process->second.inspector) {
        return std::nullopt;
    }
    return process->second.inspector->identity();
}

} // namespace Tarnwick
