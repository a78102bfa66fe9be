// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/DetailsReader.h"

#include "Helper/linux/ContainerLookup.h"
#include "Helper/linux/ProcFs.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <net/if.h>

namespace Tarnwick {

namespace {

/// The path in the text of /proc/PID/cgroup that names a unit: in the line "0::PATH", or in
/// "N:name=systemd:PATH", where a service manager keeps its units in a hierarchy of its own
/// (cgroups(7)). Empty where none does.
std::string_view unitPath(std::string_view text)
{
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        line.remove_prefix(std::min(line.size(), line.find(':')));
        for (const std::string_view controllers : {"::", ":name=systemd:"}) {
            if (line.starts_with(controllers) && !ControlGroups::unit(line).empty()) {
                return line.substr(controllers.size());
            }
        }
    }
    return {};
}

} // namespace

ListenerDetails DetailsReader::read(const ListeningSocket &socket, pid_t owner)
{
    ListenerDetails details;
    details.socket = socket.key();
    details.address = socket.address;
    details.interface = interfaceName(socket.address.interface);
    details.userId = socket.uid;
    details.user = m_users.name(socket.uid);
    const std::optional<std::string> group = m_groups.path(socket.controlGroup);
    const Unit maker = unitAt(group.value_or(std::string()));
    Unit unit = maker;
    if (owner != 0) {
        const Membership &membership = membershipOf(owner);
        unit = membership.unit;
        details.container = membership.container;
    }
    details.unit = unit.name;
    details.isUserUnit = unit.isOfUser;
    // Without a group to go by the socket is taken for one that its owner made.
    readSocketUnit(details, socket, group ? maker : unit);
    return details;
}

/// The system's service manager makes a socket in the group of its unit, where the kernel has what
/// it filters such sockets with, and else in its own group. A user's manager always does the
/// latter: then the files of its units tell which of them has the port.
void DetailsReader::readSocketUnit(ListenerDetails &details, const ListeningSocket &socket,
                                   const Unit &maker)
{
    constexpr std::string_view ownGroup = "init.scope";
    constexpr std::string_view suffix = ".socket";
    const bool isOfUnit = maker.name.ends_with(suffix);
    if (!isOfUnit && maker.name != ownGroup) {
        return;
    }
    const auto [known, isNew] =
        m_unitFiles.try_emplace({maker.isOfUser, maker.manager}, std::vector<std::string>{});
    if (isNew) {
        known->second = maker.isOfUser ? UnitFiles::ofUser(maker.manager) : UnitFiles::ofSystem();
    }
    const UnitFiles &files = known->second;
    const std::optional<std::string> unit =
        isOfUnit ? std::optional(maker.name) : files.socketUnit(socket.port);
    if (!unit) {
        return;
    }
    details.socketUnit = Utf8::sanitized(*unit);
    if (details.unit == ownGroup || details.unit.ends_with(suffix)) {
        details.unit = Utf8::sanitized(files.serviceOf(*unit));
        details.isUserUnit = maker.isOfUser;
    }
}

const DetailsReader::Membership &DetailsReader::membershipOf(pid_t owner)
{
    constexpr std::size_t maxGroupBytes = 64UL * 1024;
    const auto [known, isNew] = m_memberships.try_emplace(owner);
    if (isNew) {
        std::string text;
        const FileDescriptor file = ProcFs::openOfProcess(m_root, owner, "/cgroup");
        if (file && ProcFs::readWhole(file.get(), text, maxGroupBytes)) {
            known->second.unit = unitAt(unitPath(text));
            known->second.container = ContainerLookup::ofGroups(m_root, owner, text);
        }
    }
    return known->second;
}

/// The service manager of a user runs the units below the group of "user@UID.service".
DetailsReader::Unit DetailsReader::unitAt(std::string_view path)
{
    const std::string name = ControlGroups::unit(path);
    const std::size_t manager = path.find("/user@");
    const bool isBelowManager = manager != path.npos && path.find('/', manager + 1) != path.npos;
    Unit unit{Utf8::sanitized(name), isBelowManager && !name.starts_with("user@"), 0};
    if (unit.isOfUser) {
        constexpr std::string_view prefix = "/user@";
        std::from_chars(path.data() + manager + prefix.size(), path.data() + path.size(),
                        unit.manager);
    }
    return unit;
}

const std::string &DetailsReader::interfaceName(std::uint32_t index)
{
    const auto [known, isNew] = m_interfaces.try_emplace(index);
    if (isNew && index != 0) {
        std::array<char, IF_NAMESIZE> name{};
        known->second = ::if_indextoname(index, name.data()) == nullptr
                            ? std::to_string(index)
                            : Utf8::sanitized(name.data());
    }
    return known->second;
}

} // namespace Tarnwick
