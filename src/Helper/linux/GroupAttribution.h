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
};

/// Finds the owner of a socket whose holders may not be looked at, for they belong to other users:
/// from the control group that the kernel says the socket was made in. An owner is told where the
/// group leads to one process; where several could be it, nobody is.
class GroupAttribution
{
public:
    /// Whether a process may have any descriptor; who has none owns no socket.
    using MayHold = std::function<bool(pid_t)>;

    GroupAttribution(int procRoot, ControlGroups &groups, MayHold mayHold)
        : m_procRoot(procRoot)
        , m_groups(groups)
        , m_mayHold(std::move(mayHold))
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
    /// (threads of the kernel, zombies, processes that were searched, shells, which run servers but
    /// are none); one whose command line names the port is preferred; then one of the socket's
    /// user; then the root of the process tree; then the earliest start. Processes of the same
    /// program that are left with each other are equal. In a @p shared group nothing less than the
    /// named port, or there being just one, is evidence.
    [[nodiscard]] static std::optional<pid_t> choose(std::vector<GroupMember> members,
                                                     const ListeningSocket &socket, bool shared);

    /// Whether a command line holds @p port as a number of its own.
    [[nodiscard]] static bool namesPort(std::string_view commandLine, std::uint16_t port);

private:
    [[nodiscard]] std::vector<GroupMember> members(const std::string &path) const;
    [[nodiscard]] std::vector<GroupMember> candidates(const std::string &path, std::uint16_t port);
    void complete(GroupMember &member) const;

    int m_procRoot;
    ControlGroups &m_groups;
    MayHold m_mayHold;
    /// Of this look; of each member the command line only.
    std::map<std::string, std::vector<GroupMember>> m_members;
};

} // namespace Tarnwick
