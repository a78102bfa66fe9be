// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// The control groups of the unified hierarchy (cgroups(7)): which group has a number, and which
/// processes are in a group. Both may be read by everybody. Paths are relative to the hierarchy's
/// mount point and begin with a slash; that of its root is "/". Where /proc has other numbers for
/// processes than system calls have, no group has any processes, for the kernel tells them in the
/// numbers of who reads. Belongs to one thread.
class ControlGroups
{
public:
    /// With the hierarchy that /proc/self/mountinfo names; with none every question goes
    /// unanswered.
    ControlGroups();

    /// The path of the group whose directory has the inode @p number, which is what socket
    /// diagnostics call a group by. Walks the tree of groups when the number is not known, once in
    /// each look: the groups of many sockets may have been removed.
    [[nodiscard]] std::optional<std::string> path(std::uint64_t number);

    /// Begins a look, in which groups that were made since the one before are found as well.
    void beginLook() { m_walked = false; }

    /// The processes of the group at @p path; where it has none, those of the groups below it, for
    /// a group may hand its processes on to parts of itself.
    [[nodiscard]] std::vector<pid_t> processes(const std::string &path) const;

    /// The processes of the group at @p path and of all groups below it.
    [[nodiscard]] std::vector<pid_t> processesBelow(const std::string &path) const;

    /// What cgroup.procs of that group alone holds; empty when there is no such group.
    [[nodiscard]] std::string processList(const std::string &path) const;

    /// The service manager's unit that @p path belongs to, such as "nginx.service"; empty when no
    /// part of the path is one. The deepest counts.
    [[nodiscard]] static std::string unit(std::string_view path);

    /// Whether processes that have nothing to do with each other live together in such a group: the
    /// root, a login session, what is not a service of its own.
    [[nodiscard]] static bool isShared(std::string_view path);

    /// The group of the service that a socket unit's group makes way for; nothing for other groups.
    [[nodiscard]] static std::optional<std::string> serviceOfSocketUnit(std::string_view path);

    /// Appends the processes that the text of a cgroup.procs file lists.
    static void parseProcesses(std::string_view list, std::vector<pid_t> &found);

    /// The mount point of the unified hierarchy that the text of a mountinfo file names, if any.
    [[nodiscard]] static std::optional<std::string> mountPoint(std::string_view mountInfo);

private:
    void walk(int directory, const std::string &path, unsigned depth);
    void collect(int directory, unsigned depth, std::vector<pid_t> &found) const;

    FileDescriptor m_root;
    bool m_tellsProcesses = false;
    bool m_walked = false; ///< in this look
    std::unordered_map<std::uint64_t, std::string> m_paths;
};

} // namespace Tarnwick
