// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/OwnerResolution.h"

#include "Helper/linux/PolledSockets.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr pid_t initProcess = 1;

} // namespace

OwnerResolution::OwnerResolution(int root, std::span<const ListeningSocket> sockets,
                                 std::span<const ProcFs::ProcessEntry> processes,
                                 ControlGroups &groups, ThreadScanBackoff &backoff,
                                 const HolderSearch::Limits &limits)
    : m_root(root)
    , m_numbering(ProcFs::numbering(root))
    , m_processes(processes)
    , m_sockets(sockets)
    , m_search(root, sockets, limits)
    , m_backoff(backoff)
    , m_membership(groups)
    , m_roles(root)
{
}

void OwnerResolution::want(std::uint32_t socket)
{
    m_wanted.push_back(socket);
}

void OwnerResolution::look(std::span<const pid_t> processes)
{
    for (const pid_t pid : processes) {
        m_search.visit(pid);
    }
    climb();
}

void OwnerResolution::lookUpTo(unsigned highest, std::span<const ProcFs::ProcessEntry> processes)
{
    m_search.visitAll(processes, [highest](unsigned looked) { return looked > highest; });
}

bool OwnerResolution::isHeldByOther(std::uint32_t socket, pid_t pid)
{
    const std::span<const Holder> holders = m_search.holders(socket);
    return std::any_of(holders.begin(), holders.end(),
                       [pid](const Holder &holder) { return holder.pid != pid; });
}

void OwnerResolution::lookEverywhere(std::span<const std::uint32_t> inherited,
                                     const KnownOtherwise &knownOtherwise)
{
    unsigned least = 0;
    for (const std::uint32_t socket : inherited) {
        const std::optional<SocketOwner> found = owner(socket);
        least = std::max(least, found ? found->descriptor + 1 : 0);
    }
    const auto isKnown = [&](std::uint32_t socket) {
        return !m_search.holders(socket).empty() || knownOtherwise(socket);
    };
    const bool settledEarly = m_search.visitAll(m_processes, [&](unsigned looked) {
        return looked >= least &&
               std::all_of(m_wanted.begin(), m_wanted.end(), [&](std::uint32_t socket) {
                   return settled({&socket, 1}, looked) || knownOtherwise(socket);
               });
    });
    climb();
    if (!settledEarly && !std::all_of(m_wanted.begin(), m_wanted.end(), isKnown)) {
        m_search.visitThreads(m_processes, m_backoff);
        climb();
    }
}

bool OwnerResolution::isMakerOfOwnerGone(std::uint32_t socket)
{
    const std::optional<SocketOwner> found = owner(socket);
    if (!found || found->manager) {
        return false;
    }
    const std::optional<ProcFs::Stat> &known = stat(found->pid);
    if (!known || known->parent <= initProcess || isManager(known->parent)) {
        return true;
    }
    // Who takes an orphan in is seldom of its session; who leads one has left that of its parent.
    const std::optional<ProcFs::Stat> &parent = stat(known->parent);
    return !parent || (known->session != found->pid && parent->session != known->session);
}

bool OwnerResolution::settled(std::span<const std::uint32_t> sockets, unsigned end)
{
    return std::all_of(sockets.begin(), sockets.end(), [this, end](std::uint32_t socket) {
        const std::span<const Holder> holders = m_search.holders(socket);
        return std::any_of(holders.begin(), holders.end(), [&](const Holder &holder) {
            return holder.descriptor < end && holder.thread == 0 &&
                   rank(socket, holder.pid) == Rank::InGroup;
        });
    });
}

bool OwnerResolution::ownersAreMakers(std::span<const std::uint32_t> sockets)
{
    return std::all_of(sockets.begin(), sockets.end(), [this](std::uint32_t socket) {
        const std::optional<SocketOwner> found = owner(socket);
        const std::optional<ProcFs::Stat> known = found ? stat(found->pid) : std::nullopt;
        if (!known || found->manager || known->parent <= initProcess || isManager(known->parent)) {
            return false;
        }
        const std::optional<ProcFs::Stat> &parent = stat(known->parent);
        return parent && parent->session == known->session;
    });
}

/// Others may hold a socket under a number that has not been looked at: those that a holder has it
/// from, or got it with. Goes on until nobody new is found.
void OwnerResolution::climb()
{
    for (bool found = true; found;) {
        found = false;
        std::vector<pid_t> next;
        for (const std::uint32_t socket : m_wanted) {
            for (const Holder &holder : m_search.holders(socket)) {
                if (m_climbed.insert(holder.pid).second && !isManager(holder.pid)) {
                    const std::vector<pid_t> others = relatives(holder.pid);
                    next.insert(next.end(), others.begin(), others.end());
                }
            }
        }
        for (const pid_t pid : next) {
            m_search.visit(pid);
            found = true;
        }
    }
}

/// The parent of a holder and the leader of its process group. What an orphan has it has from a
/// parent that ended, and so may others of its group.
std::vector<pid_t> OwnerResolution::relatives(pid_t holder)
{
    std::vector<pid_t> found;
    const std::optional<ProcFs::Stat> known = stat(holder);
    if (!known) {
        return found;
    }
    for (const pid_t relative : {known->parent, known->processGroup}) {
        if (relative >= initProcess && relative != holder && !isManager(relative)) {
            found.push_back(relative);
        }
    }
    if (isOrphan(holder) && m_groups.insert(known->processGroup).second) {
        const std::vector<pid_t> &members = membersOfGroup(known->processGroup);
        found.insert(found.end(), members.begin(), members.end());
    }
    return found;
}

/// Whether the process that made @p pid has ended: it leads no group of its own, and its parent is
/// of another session.
bool OwnerResolution::isOrphan(pid_t pid)
{
    const std::optional<ProcFs::Stat> &known = stat(pid);
    if (!known || known->processGroup == pid) {
        return false;
    }
    const std::optional<ProcFs::Stat> &parent = stat(known->parent);
    return known->parent <= initProcess || !parent || parent->session != known->session;
}

pid_t OwnerResolution::processGroup(pid_t pid)
{
    if (m_numbering == ProcFs::Numbering::Own) {
        return ::getpgid(pid);
    }
    const std::optional<ProcFs::Stat> &known = stat(pid);
    return known ? known->processGroup : -1;
}

const std::vector<pid_t> &OwnerResolution::membersOfGroup(pid_t group)
{
    if (!m_groupMembers) {
        m_groupMembers.emplace();
        for (const ProcFs::ProcessEntry &process : m_processes) {
            (*m_groupMembers)[processGroup(process.pid)].push_back(process.pid);
        }
    }
    return (*m_groupMembers)[group];
}

OwnerResolution::Rank OwnerResolution::rank(std::uint32_t socket, pid_t pid)
{
    const std::optional<ProcFs::Stat> &known = stat(pid);
    switch (known ? m_roles.role(pid, *known) : ProcessRoles::Role::Ordinary) {
    case ProcessRoles::Role::ServiceManager:
        return Rank::ServiceManager;
    case ProcessRoles::Role::MessageBus:
        return Rank::MessageBus;
    case ProcessRoles::Role::Ordinary:
        break;
    }
    return m_membership.contains(m_sockets[socket], pid) ? Rank::InGroup : Rank::Outside;
}

/// The holders of the lowest rank, which is @p best then. What only a thread has counts where no
/// process of the same rank has it as a whole.
std::vector<OwnerResolution::Candidate> OwnerResolution::likeliest(std::uint32_t socket, Rank &best)
{
    using Place = std::pair<Rank, bool>;
    Place lowest{Rank::ServiceManager, true};
    std::vector<Candidate> found;
    for (const Holder &holder : m_search.holders(socket)) {
        const std::optional<ProcFs::Stat> &known = stat(holder.pid);
        const Place place{rank(socket, holder.pid), holder.thread != 0};
        if (!known || place > lowest) {
            continue;
        }
        if (place < lowest) {
            found.clear();
            lowest = place;
        }
        found.push_back({holder, known->startTicks, known->parent, known->processGroup});
    }
    best = lowest.first;
    return found;
}

/// Keeps the candidates in the lowest band of descriptors, which every search has looked at, and
/// those that climb() leads to from them.
void OwnerResolution::keepLowestAndRelatives(std::vector<Candidate> &candidates)
{
    unsigned lowest = ~0U;
    for (const Candidate &candidate : candidates) {
        lowest = std::min(lowest, HolderSearch::bandOf(candidate.holder.descriptor));
    }
    auto others = std::partition(candidates.begin(), candidates.end(), [lowest](const auto &one) {
        return HolderSearch::bandOf(one.holder.descriptor) == lowest;
    });
    auto newest = candidates.begin();
    std::unordered_set<pid_t> relatives;
    std::unordered_set<pid_t> groupsOfOrphans;
    while (newest != others && others != candidates.end()) {
        for (; newest != others; ++newest) {
            relatives.insert({newest->parent, newest->processGroup});
            if (isOrphan(newest->holder.pid)) {
                groupsOfOrphans.insert(newest->processGroup);
            }
        }
        others = std::partition(others, candidates.end(), [&](const Candidate &one) {
            return relatives.contains(one.holder.pid) || groupsOfOrphans.contains(one.processGroup);
        });
    }
    candidates.erase(others, candidates.end());
}

std::optional<SocketOwner> OwnerResolution::owner(std::uint32_t socket)
{
    Rank best = Rank::ServiceManager;
    std::vector<Candidate> candidates = likeliest(socket, best);
    if (candidates.empty()) {
        return std::nullopt;
    }
    keepLowestAndRelatives(candidates);
    std::unordered_set<pid_t> pids;
    for (const Candidate &candidate : candidates) {
        pids.insert(candidate.holder.pid);
    }
    const auto order = [&pids](const Candidate &candidate) {
        return std::tuple(candidate.startTicks, pids.contains(candidate.parent),
                          candidate.holder.pid);
    };
    const auto first = std::min_element(candidates.begin(), candidates.end(),
                                        [&order](const Candidate &left, const Candidate &right) {
                                            return order(left) < order(right);
                                        });
    const bool forOthers = best == Rank::ServiceManager ||
                           (best == Rank::MessageBus && !serves(first->holder.pid, socket));
    return SocketOwner{first->holder.pid,
                       first->holder.descriptor,
                       first->holder.thread,
                       best == Rank::ServiceManager,
                       forOthers,
                       best != Rank::InGroup};
}

/// Whether a message bus waits for connections on a socket itself.
bool OwnerResolution::serves(pid_t bus, std::uint32_t socket)
{
    const auto [known, isNew] = m_served.try_emplace({bus, socket});
    if (isNew) {
        known->second = PolledSockets::contain(m_root, bus, m_sockets[socket].inode);
    }
    return known->second;
}

const std::optional<ProcFs::Stat> &OwnerResolution::stat(pid_t pid)
{
    const auto [known, isNew] = m_stats.try_emplace(pid);
    if (isNew) {
        known->second = ProcFs::stat(m_root, pid);
    }
    return known->second;
}

bool OwnerResolution::isManager(pid_t pid)
{
    const std::optional<ProcFs::Stat> &known = stat(pid);
    return known && m_roles.role(pid, *known) == ProcessRoles::Role::ServiceManager;
}

} // namespace Tarnwick
