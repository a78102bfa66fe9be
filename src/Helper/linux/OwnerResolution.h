// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/GroupMembership.h"
#include "Helper/linux/HolderSearch.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessRoles.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/ThreadScanBackoff.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Tarnwick {

/// The process that a listening socket belongs to.
struct SocketOwner
{
    pid_t pid = 0;
    unsigned descriptor = 0; ///< its number for the socket
    pid_t thread = 0;        ///< the thread whose number that is; 0 where all threads share it
    bool manager = false;    ///< a service manager, which nobody else takes the socket from yet
    /// A service manager, or a message bus that has the socket in flight and serves no client
    /// through it: its end would not be that of a server.
    bool forOthers = false;
    /// Whether the process only keeps the socket for others, or lives outside of the control group
    /// in which the socket was made: any other holder would be the owner in its place.
    bool provisional = false;
};

/// Decides who owns sockets that several processes may hold: the process whose end ends the server.
/// A holder in the control group in which the socket was made comes before those outside, which
/// were handed it; then come message buses, which have in flight what others pass on, and last
/// service managers, which hold a socket to start its service on demand. Of the holders that are
/// left, those with the lowest descriptors count, and their relatives; among these the owner is the
/// one that started first, for a child starts after its parent, and who merely inherited a
/// descriptor after its owner; between equals it is the parent. How far the search went beyond the
/// lowest descriptors makes no difference.
///
/// Made for one look; remembers nothing beyond it.
class OwnerResolution
{
public:
    /// @p sockets, @p processes, all that there are, @p groups and @p backoff must outlive it.
    OwnerResolution(int root, std::span<const ListeningSocket> sockets,
                    std::span<const ProcFs::ProcessEntry> processes, ControlGroups &groups,
                    ThreadScanBackoff &backoff, const HolderSearch::Limits &limits);

    /// Names a socket whose owner is to be found.
    void want(std::uint32_t socket);

    /// Names the owner that a socket has, with whom others that are looked at are compared. Unless
    /// the socket is wanted, too, nobody is looked at for it.
    void assume(const Holder &owner) { m_search.add(owner); }

    /// Looks at these processes, and at those above each holder in its tree.
    void look(std::span<const pid_t> processes);

    /// Looks at the descriptors of these processes up to the range in which @p highest lies, as a
    /// look at all processes does for a socket that was found under this number.
    void lookUpTo(unsigned highest, std::span<const ProcFs::ProcessEntry> processes);

    /// Whether another process than @p pid is known to hold a socket.
    [[nodiscard]] bool isHeldByOther(std::uint32_t socket, pid_t pid);

    /// Whether the owner of a socket that nobody was seen to hold is known in another way.
    using KnownOtherwise = std::function<bool(std::uint32_t socket)>;

    /// Whether each of these sockets has an owner whose own maker still lives and was looked at, so
    /// that the owner is known to have made the socket itself. Who was made by a process that has
    /// ended, or was started by a service manager, may have it from anybody.
    [[nodiscard]] bool ownersAreMakers(std::span<const std::uint32_t> sockets);

    /// Whether the owner of a socket has lost the process that made it, which may live on and may
    /// have made the socket, too.
    [[nodiscard]] bool isMakerOfOwnerGone(std::uint32_t socket);

    /// Looks at all processes. What takes longest, the descriptors with higher numbers and those of
    /// single threads, is left out when it is not needed: every wanted socket is settled or @p
    /// knownOtherwise by then, and everybody was looked at up to the numbers that the owners of @p
    /// inherited sockets have, under which they inherited them.
    void lookEverywhere(std::span<const std::uint32_t> inherited,
                        const KnownOtherwise &knownOtherwise);

    /// Whether each of these sockets has a holder that is not provisional, with a descriptor below
    /// @p end.
    [[nodiscard]] bool settled(std::span<const std::uint32_t> sockets, unsigned end = ~0U);

    /// The owner, as far as the looks up to now tell; nothing when no holder was found.
    [[nodiscard]] std::optional<SocketOwner> owner(std::uint32_t socket);

    [[nodiscard]] const HolderSearch &search() const { return m_search; }

private:
    /// The lower, the likelier the owner.
    enum class Rank { InGroup, Outside, MessageBus, ServiceManager };

    struct Candidate
    {
        Holder holder;
        std::uint64_t startTicks = 0;
        pid_t parent = 0;
        pid_t processGroup = 0;
    };

    [[nodiscard]] Rank rank(std::uint32_t socket, pid_t pid);
    [[nodiscard]] std::vector<Candidate> likeliest(std::uint32_t socket, Rank &best);
    void keepLowestAndRelatives(std::vector<Candidate> &candidates);
    void climb();
    [[nodiscard]] std::vector<pid_t> relatives(pid_t holder);
    [[nodiscard]] bool isOrphan(pid_t pid);
    [[nodiscard]] bool serves(pid_t bus, std::uint32_t socket);
    [[nodiscard]] const std::optional<ProcFs::Stat> &stat(pid_t pid);
    [[nodiscard]] bool isManager(pid_t pid);
    [[nodiscard]] pid_t processGroup(pid_t pid);
    [[nodiscard]] const std::vector<pid_t> &membersOfGroup(pid_t group);

    int m_root;
    ProcFs::Numbering m_numbering;
    std::span<const ProcFs::ProcessEntry> m_processes;
    std::span<const ListeningSocket> m_sockets;
    HolderSearch m_search;
    ThreadScanBackoff &m_backoff;
    GroupMembership m_membership;
    ProcessRoles m_roles;
    std::vector<std::uint32_t> m_wanted;
    std::unordered_set<pid_t> m_climbed;
    std::unordered_set<pid_t> m_groups; ///< process groups whose members have been looked at
    /// All processes by process group; filled when it is needed.
    std::optional<std::unordered_map<pid_t, std::vector<pid_t>>> m_groupMembers;
    std::unordered_map<pid_t, std::optional<ProcFs::Stat>> m_stats;
    std::map<std::pair<pid_t, std::uint32_t>, bool> m_served; ///< of message buses
};

} // namespace Tarnwick
