// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/OwnerResolution.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <tuple>

#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr pid_t initProcess = 1;
/// The service managers that hold sockets for their services. Under any other name process 1 is
/// what a container was made for.
constexpr std::array<std::string_view, 4> managersOfTheSystem{"systemd", "init", "dinit",
                                                              "shepherd"};
/// The one that gives each user's services their sockets.
constexpr std::string_view managerOfUsers = "systemd";

} // namespace

OwnerResolution::OwnerResolution(int root, std::span<const ListeningSocket> sockets,
                                 std::span<const ProcFs::ProcessEntry> processes)
    : m_root(root)
    , m_numbering(ProcFs::numbering(root))
    , m_processes(processes)
    , m_search(root, sockets)
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

void OwnerResolution::lookEverywhere(Thoroughness thoroughness,
                                     std::span<const std::uint32_t> inherited,
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
        return thoroughness == Thoroughness::UntilSettled && looked >= least &&
               std::all_of(m_wanted.begin(), m_wanted.end(), [&](std::uint32_t socket) {
                   return settled({&socket, 1}) || knownOtherwise(socket);
               });
    });
    climb();
    if (!settledEarly && !std::all_of(m_wanted.begin(), m_wanted.end(), isKnown)) {
        m_search.visitThreads(m_processes);
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

bool OwnerResolution::settled(std::span<const std::uint32_t> sockets)
{
    return std::all_of(sockets.begin(), sockets.end(), [this](std::uint32_t socket) {
        const std::span<const Holder> holders = m_search.holders(socket);
        return std::any_of(holders.begin(), holders.end(),
                           [this](const Holder &holder) { return !isManager(holder.pid); });
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
        for (const ProcFs::ProcessEntry &process : m_processes) {
            if (processGroup(process.pid) == known->processGroup) {
                found.push_back(process.pid);
            }
        }
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

std::optional<SocketOwner> OwnerResolution::owner(std::uint32_t socket)
{
    struct Candidate
    {
        Holder holder;
        std::uint64_t startTicks;
        pid_t parent;
    };
    std::vector<Candidate> managers;
    std::vector<Candidate> candidates;
    for (const Holder &holder : m_search.holders(socket)) {
        if (const std::optional<ProcFs::Stat> &known = stat(holder.pid)) {
            std::vector<Candidate> &kind = isManager(holder.pid) ? managers : candidates;
            kind.push_back({holder, known->startTicks, known->parent});
        }
    }
    const bool onlyManagers = candidates.empty();
    const std::vector<Candidate> &eligible = onlyManagers ? managers : candidates;
    if (eligible.empty()) {
        return std::nullopt;
    }
    const auto isChildOfEligible = [&eligible](const Candidate &candidate) {
        return std::any_of(eligible.begin(), eligible.end(), [&candidate](const Candidate &other) {
            return other.holder.pid == candidate.parent;
        });
    };
    const auto first = std::min_element(
        eligible.begin(), eligible.end(), [&](const Candidate &left, const Candidate &right) {
            return std::tuple(left.startTicks, isChildOfEligible(left), left.holder.pid) <
                   std::tuple(right.startTicks, isChildOfEligible(right), right.holder.pid);
        });
    return SocketOwner{first->holder.pid, first->holder.descriptor, first->holder.thread,
                       onlyManagers};
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
    if (!known || pid != initProcess) {
        return known && known->comm == managerOfUsers;
    }
    return std::find(managersOfTheSystem.begin(), managersOfTheSystem.end(), known->comm) !=
           managersOfTheSystem.end();
}

} // namespace Tarnwick
