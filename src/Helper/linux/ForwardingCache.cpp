// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForwardingCache.h"

#include "Helper/linux/ForwardingResolution.h"
#include "Helper/linux/ProcFs.h"

#include <algorithm>

namespace Tarnwick {

namespace {

/// A process in the namespace may hand its socket on to another, and live on. As seldom as the
/// audit of a listing: a table of a namespace takes the kernel milliseconds, since it has all
/// connections of the machine in one.
constexpr std::chrono::seconds maxAge{300};

/// The longest pause between two attempts to find what was not found, in listings.
constexpr std::uint64_t maxPause = 64;

} // namespace

ForwardingCache::ForwardingCache(int root)
    : m_root(root)
{
}

ForwardingCache::~ForwardingCache() = default;

void ForwardingCache::begin(bool processesChanged, Clock::time_point deadline)
{
    ++m_listing;
    m_processesChanged = processesChanged;
    m_deadline = deadline;
}

bool ForwardingCache::isCurrent(const Entry &entry, const Forwarder &forwarder) const
{
    if (entry.forwarder != forwarder.pid || entry.forwarderStart != forwarder.startTicks) {
        return false;
    }
    if (!entry.forwarding || entry.forwarding->pid == 0) {
        return !m_processesChanged || entry.retryAt > m_listing;
    }
    // One that has ended and was not reaped yet still counts as a process.
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, entry.forwarding->pid);
    return stat && stat->startTicks == entry.startBehind && stat->state != 'Z' &&
           Clock::now() - entry.resolvedAt < maxAge;
}

void ForwardingCache::resolve(Entry &entry, const Forwarder &forwarder)
{
    if (!m_resolution) {
        m_resolution = std::make_unique<ForwardingResolution>(m_root, m_deadline);
    }
    std::optional<Forwarding> found =
        m_resolution->find(forwarder.pid, forwarder.program, forwarder.arguments, forwarder.port);
    const bool isSameForwarder =
        entry.forwarder == forwarder.pid && entry.forwarderStart == forwarder.startTicks;
    // What could not be looked at in time says nothing about what was found before.
    if (!isSameForwarder || found || !m_resolution->isCut()) {
        entry.forwarding = std::move(found);
    }
    entry.forwarder = forwarder.pid;
    entry.forwarderStart = forwarder.startTicks;
    entry.resolvedAt = Clock::now();
    entry.pause = isSameForwarder ? std::min(maxPause, entry.pause * 2) : 1;
    entry.retryAt = m_listing + entry.pause;
    if (entry.forwarding && entry.forwarding->pid != 0) {
        const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, entry.forwarding->pid);
        entry.startBehind = stat ? stat->startTicks : 0;
        entry.pause = 1;
    }
}

const Forwarding *ForwardingCache::find(const Forwarder &forwarder)
{
    Entry &entry = m_entries[forwarder.socket];
    if (!isCurrent(entry, forwarder)) {
        resolve(entry, forwarder);
    }
    entry.listing = m_listing;
    return entry.forwarding ? &*entry.forwarding : nullptr;
}

const Forwarding *ForwardingCache::found(std::uint64_t socket) const
{
    const auto entry = m_entries.find(socket);
    const bool isThere = entry != m_entries.end() && entry->second.listing == m_listing;
    return isThere && entry->second.forwarding ? &*entry->second.forwarding : nullptr;
}

void ForwardingCache::finish()
{
    m_resolution.reset();
    std::erase_if(m_entries,
                  [this](const auto &entry) { return entry.second.listing != m_listing; });
}

} // namespace Tarnwick
