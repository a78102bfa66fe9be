// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessRoles.h"

#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

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

constexpr std::string_view deletedMark = " (deleted)";

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
    return executable(pid, messageBuses) == Executable::Known ? Role::MessageBus : Role::Ordinary;
}

bool ProcessRoles::isManager(pid_t pid, const ProcFs::Stat &stat) const
{
    if (pid == initProcess) {
        const Executable found = executable(pid, systemManagers);
        return found == Executable::Known ||
               (found == Executable::Unreadable && isGroupOfSystemManager(controlGroup(pid)));
    }
    return stat.parent == initProcess && isGroupOfUserManager(controlGroup(pid)) &&
           executable(pid, userManagers) != Executable::Other;
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

/// Whether the process runs one of the @p known files. A path proves nothing, for in a namespace of
/// mounts anything can be at any path: the file itself is compared. One that an upgrade has
/// replaced meanwhile belongs to root and to no folder any more, which no user can bring about.
ProcessRoles::Executable ProcessRoles::executable(pid_t pid,
                                                  std::span<const std::string_view> known) const
{
    const std::string link = std::to_string(pid) + "/exe";
    std::string path;
    if (!ProcFs::readLink(m_root, link.c_str(), path)) {
        return errno == EACCES || errno == EPERM ? Executable::Unreadable : Executable::Other;
    }
    const bool isDeleted = path.ends_with(deletedMark);
    if (isDeleted) {
        path.resize(path.size() - deletedMark.size());
    }
    // Most processes are none of these: their files need not be looked up.
    const auto hasItsName = [&path](std::string_view candidate) {
        return fileName(candidate) == fileName(path);
    };
    if (std::none_of(known.begin(), known.end(), hasItsName)) {
        return Executable::Other;
    }
    struct statx running = {};
    if (::statx(m_root, link.c_str(), AT_STATX_DONT_SYNC, STATX_INO | STATX_UID | STATX_NLINK,
                &running) != 0) {
        SystemFailures::note("statx", errno);
        return Executable::Other;
    }
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](std::string_view candidate) {
        struct statx installed = {};
        const std::string file(candidate);
        if (::statx(AT_FDCWD, file.c_str(), AT_STATX_DONT_SYNC, STATX_INO, &installed) == 0 &&
            installed.stx_ino == running.stx_ino &&
            installed.stx_dev_major == running.stx_dev_major &&
            installed.stx_dev_minor == running.stx_dev_minor) {
            return true;
        }
        return isDeleted && path == candidate && running.stx_uid == 0 && running.stx_nlink == 0;
    });
    return isKnown ? Executable::Known : Executable::Other;
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
