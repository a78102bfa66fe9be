// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/GroupMembership.h"

#include <optional>
#include <vector>

namespace Tarnwick {

bool GroupMembership::contains(const ListeningSocket &socket, pid_t pid)
{
    const auto [known, isNew] = m_members.try_emplace(socket.controlGroup);
    if (isNew) {
        const std::optional<std::string> path = m_groups.path(socket.controlGroup);
        known->second = path ? members(*path) : Members{};
    }
    return known->second.empty() || known->second.contains(pid);
}

GroupMembership::Members GroupMembership::members(const std::string &path) const
{
    if (path == "/" || path.ends_with("/init.scope")) {
        return {};
    }
    std::vector<pid_t> found = m_groups.processesBelow(path);
    if (const std::optional<std::string> service = ControlGroups::serviceOfSocketUnit(path)) {
        const std::vector<pid_t> ofService = m_groups.processesBelow(*service);
        found.insert(found.end(), ofService.begin(), ofService.end());
    }
    return {found.begin(), found.end()};
}

} // namespace Tarnwick
