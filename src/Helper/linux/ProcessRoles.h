// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ProcFs.h"

#include <string>
#include <string_view>
#include <unordered_map>

#include <sys/types.h>

namespace Tarnwick {

/// What a process is to sockets that it holds: their owner like any other, or somebody who keeps
/// them for others. Decided by the executable (the very file that is installed in a system folder,
/// whatever path or name the process shows), by the place in the process tree and by the control
/// group; never by a name that the process gives itself. Code that is loaded into such an
/// executable (ld.so(8), LD_PRELOAD) shares its role, and so gets its sockets last. Made for one
/// look.
class ProcessRoles
{
public:
    enum class Role {
        Ordinary,
        MessageBus,    ///< passes messages on, with the descriptors in them
        ServiceManager ///< holds sockets to start services on demand
    };

    /// @p root is /proc and must outlive it.
    explicit ProcessRoles(int root)
        : m_root(root)
    {
    }

    /// The role of the process with that identifier and @p stat.
    [[nodiscard]] Role role(pid_t pid, const ProcFs::Stat &stat);

    /// Whether the text of /proc/PID/cgroup names the group of a user's service manager,
    /// "user@1000.service/init.scope", in the unified or in systemd's own hierarchy.
    [[nodiscard]] static bool isGroupOfUserManager(std::string_view text);
    /// The same for the group of the system's service manager, "/init.scope".
    [[nodiscard]] static bool isGroupOfSystemManager(std::string_view text);

private:
    [[nodiscard]] Role findRole(pid_t pid, const ProcFs::Stat &stat) const;
    [[nodiscard]] bool isManager(pid_t pid, const ProcFs::Stat &stat) const;
    [[nodiscard]] std::string controlGroup(pid_t pid) const;

    int m_root;
    std::unordered_map<pid_t, Role> m_roles;
};

} // namespace Tarnwick
