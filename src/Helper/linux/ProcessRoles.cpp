// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessRoles.h"

#include "Helper/linux/InstalledExecutable.h"

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

using Match = InstalledExecutable::Match;

constexpr pid_t initProcess = 1;

/// Where the packages of service managers install what becomes process 1. Under any other
/// executable process 1 is what a container was made for.
constexpr std::array<std::string_view, 11> systemManagers{"/usr/lib/systemd/systemd",
                                                          "/lib/systemd/systemd",
                                                          "/sbin/init",
                                                          "/sbin/runit",
                                                          "/sbin/runit-init",
                                                          "/sbin/openrc-init",
                                                          "/usr/sbin/dinit",
                                                          "/usr/bin/dinit",
                                                          "/sbin/dinit",
                                                          "/usr/bin/s6-svscan",
                                                          "/bin/s6-svscan"};
/// The one that gives each user's services their sockets.
constexpr std::array<std::string_view, 2> userManagers{"/usr/lib/systemd/systemd",
                                                       "/lib/systemd/systemd"};
constexpr std::array<std::string_view, 3> messageBuses{
    "/usr/bin/dbus-daemon", "/usr/bin/dbus-broker", "/usr/bin/dbus-broker-launch"};

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

std::string_view fileName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// The paths of a process's groups that matter here, from lines "0::PATH" and "N:name=systemd:PATH"
/// (cgroups(7)).
template<class Wanted>
bool anyGroup(std::string_view text, const Wanted &wanted)
{
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::size_t first = line.find(':');
        const std::size_t second =
            first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos) {
            continue;
        }
        const std::string_view controllers = line.substr(first + 1, second - first - 1);
        if ((controllers.empty() || controllers == "name=systemd") &&
            wanted(line.substr(second + 1))) {
            return true;
        }
    }
    return false;
}

} // namespace

ProcessRoles::Role ProcessRoles::role(pid_t pid, const ProcFs::Stat &stat)
{
    const auto [known, isNew] = m_roles.try_emplace(pid, Role::Ordinary);
    if (isNew) {
        known->second = findRole(pid, stat);
    }
    return known->second;
}

ProcessRoles::Role ProcessRoles::findRole(pid_t pid, const ProcFs::Stat &stat) const
{
    if (isManager(pid, stat)) {
        return Role::ServiceManager;
    }
    const bool isBus = InstalledExecutable::match(m_root, pid, messageBuses) == Match::Known;
    return isBus ? Role::MessageBus : Role::Ordinary;
}

bool ProcessRoles::isManager(pid_t pid, const ProcFs::Stat &stat) const
{
    if (pid == initProcess) {
        const Match found = InstalledExecutable::match(m_root, pid, systemManagers);
        return found == Match::Known ||
               (found == Match::Unreadable && isGroupOfSystemManager(controlGroup(pid)));
    }
    return stat.parent == initProcess && isGroupOfUserManager(controlGroup(pid)) &&
           InstalledExecutable::match(m_root, pid, userManagers) != Match::Other;
}

std::string ProcessRoles::controlGroup(pid_t pid) const
{
    constexpr std::size_t longest = 64UL * 1024;
    std::string text;
    const FileDescriptor file = ProcFs::openOfProcess(m_root, pid, "/cgroup");
    if (file) {
        ProcFs::readWhole(file.get(), text, longest);
    }
    return text;
}

bool ProcessRoles::isGroupOfUserManager(std::string_view text)
{
    return anyGroup(text, [](std::string_view path) {
        constexpr std::string_view scope = ".service/init.scope";
        constexpr std::string_view unit = "user@";
        if (!path.ends_with(scope)) {
            return false;
        }
        path.remove_suffix(scope.size());
        const std::string_view name = fileName(path);
        const std::string_view user = name.substr(std::min(name.size(), unit.size()));
        return name.starts_with(unit) && !user.empty() &&
               std::all_of(user.begin(), user.end(), isDigit);
    });
}

bool ProcessRoles::isGroupOfSystemManager(std::string_view text)
{
    return anyGroup(text, [](std::string_view path) { return path == "/init.scope"; });
}

} // namespace Tarnwick
