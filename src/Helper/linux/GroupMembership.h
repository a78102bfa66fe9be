// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/SocketDump.h"

#include <string>
#include <unordered_map>
#include <unordered_set>

#include <sys/types.h>

namespace Tarnwick {

/// Whether a process lives in the control group that a socket was made in, or below it. Who was
/// merely handed the socket mostly does not. Made for one look.
class GroupMembership
{
public:
    explicit GroupMembership(ControlGroups &groups)
        : m_groups(groups)
    {
    }

    /// False when the socket was made elsewhere. True as well where that cannot be told, or tells
    /// nothing: without control groups, for the root of the hierarchy, for the group of a service
    /// manager, which makes sockets for its services, and for a group that has no processes left.
    [[nodiscard]] bool contains(const ListeningSocket &socket, pid_t pid);

private:
    using Members = std::unordered_set<pid_t>;

    [[nodiscard]] Members members(const std::string &path) const;

    ControlGroups &m_groups;
    std::unordered_map<std::uint64_t, Members> m_members; ///< by group; empty where all count
};

} // namespace Tarnwick
