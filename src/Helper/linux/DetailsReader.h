// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerDetails.h"
#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/SocketDump.h"
#include "Helper/linux/UnitFiles.h"
#include "Helper/linux/UserNames.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <sys/types.h>

namespace Tarnwick {

/// Collects the details of the listening sockets of one scan. Reads each file once in that time.
class DetailsReader
{
public:
    /// @p root is /proc. Both are used as long as the reader lives.
    DetailsReader(int root, ControlGroups &groups)
        : m_root(root)
        , m_groups(groups)
    {
    }

    /// The details of @p socket, which belongs to @p owner, or to nobody that is known where that
    /// is 0. What cannot be read is empty.
    [[nodiscard]] ListenerDetails read(const ListeningSocket &socket, pid_t owner);

private:
    struct Unit
    {
        std::string name;
        bool isOfUser = false;
        uid_t manager = 0; ///< the user whose service manager it is of
    };
    /// What the control group of a process tells of it.
    struct Membership
    {
        Unit unit;
        std::optional<Container> container;
    };

    [[nodiscard]] const Membership &membershipOf(pid_t owner);
    [[nodiscard]] static Unit unitAt(std::string_view path);
    void readSocketUnit(ListenerDetails &details, const ListeningSocket &socket, const Unit &maker);
    [[nodiscard]] const std::string &interfaceName(std::uint32_t index);

    int m_root;
    ControlGroups &m_groups;
    UserNames m_users;
    std::map<std::pair<bool, uid_t>, UnitFiles> m_unitFiles; ///< of users' managers or the system's
    std::unordered_map<pid_t, Membership> m_memberships;
    std::unordered_map<std::uint32_t, std::string> m_interfaces;
};

} // namespace Tarnwick
