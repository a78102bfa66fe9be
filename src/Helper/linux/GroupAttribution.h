// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/SocketDump.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A process of a control group, as far as it helps to tell whether it owns a socket.
struct GroupMember
{
    ProcFs::Stat stat;
    pid_t pid = 0;
    std::string commandLine;  ///< arguments, each ended by a NUL
    std::vector<uid_t> users; ///< real, effective, saved, and of the file system
    bool readable = false;    ///< its descriptors could be searched, and do not have the socket
    bool complete = false;    ///< whether all of this has been read
};

/// Finds the owner of a socket whose holders may not be looked at, for they belong to other users:
/// from the control group that the kernel says the socket was made in. An owner is told where the
/// group leads to one process; where several could be it, nobody is.
class GroupAttribution
{
public:
    /// What is known of a process's descriptors from a look at it.
    enum class Access {
        Unknown,      ///< there was no look, or it was denied
        HoldsNothing, ///< it has none, and owns no socket
        Open          ///< they are ours to look at
    };
    using AccessTo = std::function<Access(pid_t)>;

    GroupAttribution(int procRoot, ControlGroups &groups, AccessTo accessTo)
        : m_procRoot(procRoot)
        , m_groups(groups)
        , m_accessTo(std::move(accessTo))
    {
    }

    struct Answer
    {
        std::optional<pid_t> owner;
        std::string group; ///< path of the group that the owner was looked for in; empty if unknown
        std::string unit;  ///< the service manager's unit that the socket belongs to, or empty
        bool idleUnit = false; ///< a socket unit's, whose service does not run
    };

    [[nodiscard]] Answer owner(const ListeningSocket &socket);

    /// The processes among which owner() chooses that may be looked at. It takes it that they have
    /// been, and do not hold the socket.
    [[nodiscard]] std::vector<pid_t> searchable(const ListeningSocket &socket);

    /// The choice itself, among the members of a group. In this order: who cannot be it is dropped
    /// (threads of the kernel, zombies, processes that were searched), and so is who runs servers
    /// but is none (shells, and commands that were given another member's command line to run); one
    /// whose command line names the port is preferred; then one of the socket's user; then the root
    /// of the process tree; then the earliest start. Processes of the same program that are left
    /// with each other are equal.
    [[nodiscard]] static std::optional<pid_t> choose(std::vector<GroupMember> members,
                                                     const ListeningSocket &socket);

    /// The choice in a group that strangers share, where a number in a command line may mean
    /// anything: the only one of @p possible, all those that may not be looked into, if it names
    /// the port and is of the socket's user.
    [[nodiscard]] static std::optional<pid_t>
    chooseAmongStrangers(std::span<const GroupMember> possible, const ListeningSocket &socket);

    /// Whether a command line holds @p port as a number of its own.
    [[nodiscard]] static bool namesPort(std::string_view commandLine, std::uint16_t port);

private:
    [[nodiscard]] std::vector<GroupMember> members(const std::string &path) const;
    [[nodiscard]] std::vector<GroupMember> candidates(const std::string &path, std::uint16_t port);
    [[nodiscard]] const std::vector<GroupMember> &possibleStrangers(const std::string &path);
    void readCommandLine(GroupMember &member) const;
    [[nodiscard]] bool mayLookInto(pid_t pid) const;
    void complete(GroupMember &member) const;

    int m_procRoot;
    ControlGroups &m_groups;
    AccessTo m_accessTo;
    /// Of this look; of each member the command line at least.
    std::map<std::string, std::vector<GroupMember>> m_members;
    /// Of this look, too; two at most of each group.
    std::map<std::string, std::vector<GroupMember>> m_strangers;
};

} // namespace Tarnwick
