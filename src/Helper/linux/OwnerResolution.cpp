// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/OwnerResolution.h"

#include <algorithm>
#include <string>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr pid_t initProcess = 1;
/// The service manager that gives each user's services their sockets runs under this name too.
constexpr std::string_view managerName = "systemd";

} // namespace

OwnerResolution::OwnerResolution(int root, std::span<const ListeningSocket> sockets,
                                 std::span<const ProcFs::ProcessEntry> processes)
    : m_root(root)
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
                                     const KnownOtherwise &knownOtherwise)
{
    m_search.visitAll(m_processes, [&] {
        return thoroughness == Thoroughness::UntilSettled &&
               std::all_of(m_wanted.begin(), m_wanted.end(), [&](std::uint32_t socket) {
                   return settled({&socket, 1}) || knownOtherwise(socket);
               });
    });
    climb();
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
        return known && !found->manager && known->parent > initProcess &&
               !isManager(known->parent) && ::getsid(known->parent) == ::getsid(found->pid);
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
        if (relative > initProcess && relative != holder) {
            found.push_back(relative);
        }
    }
    if (isOrphan(holder) && m_groups.insert(known->processGroup).second) {
        for (const ProcFs::ProcessEntry &process : m_processes) {
            if (::getpgid(process.pid) == known->processGroup) {
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
    return known && known->processGroup != pid &&
           (known->parent <= initProcess || ::getsid(known->parent) != ::getsid(pid));
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
    // A server that is process 1 itself, as in a container, is the owner and not its own manager.
    for (const Candidate &manager : managers) {
        const auto runsTheSame = [&](const Candidate &other) {
            return sameExecutable(manager.holder.pid, other.holder.pid);
        };
        if (std::any_of(candidates.begin(), candidates.end(), runsTheSame)) {
            return SocketOwner{manager.holder.pid, manager.holder.descriptor, false};
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
    return SocketOwner{first->holder.pid, first->holder.descriptor, onlyManagers};
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
    if (pid == initProcess) {
        return true;
    }
    const std::optional<ProcFs::Stat> &known = stat(pid);
    return known && known->comm == managerName;
}

bool OwnerResolution::sameExecutable(pid_t left, pid_t right) const
{
    const auto executable = [this](pid_t pid) {
        std::string path;
        if (const FileDescriptor directory = ProcFs::openProcess(m_root, pid)) {
            ProcFs::readLink(directory.get(), "exe", path);
        }
        return path;
    };
    const std::string path = executable(left);
    return !path.empty() && path == executable(right);
}

} // namespace Tarnwick
