// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ContainerLookup.h"

#include "Helper/linux/ContainerGroup.h"
#include "Helper/linux/ForwarderCommand.h"
#include "Helper/linux/InstalledExecutable.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessInspector.h"

#include <cstddef>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::size_t longestGroups = 64UL * 1024;
constexpr std::size_t longestCommandLine = 64UL * 1024;

struct Monitor
{
    ForwarderCommand command;
    bool isOfUser = false;
};

/// What the command line of the nearest conmon above the process says.
std::optional<Monitor> monitorOf(int root, pid_t pid)
{
    constexpr int maxAncestors = 64;
    using Program = ForwarderCommand::Program;
    std::optional<ProcFs::Stat> stat = ProcFs::stat(root, pid);
    for (int level = 0; level < maxAncestors && stat && stat->parent > 1; ++level) {
        const pid_t parent = stat->parent;
        stat = ProcFs::stat(root, parent);
        if (!stat || stat->comm != "conmon" ||
            InstalledExecutable::match(root, parent, ForwarderCommand::places(Program::Conmon)) ==
                InstalledExecutable::Match::Other) {
            continue;
        }
        std::string text;
        struct stat owner = {};
        const FileDescriptor folder = ProcFs::openProcess(root, parent);
        if (!folder || ::fstat(folder.get(), &owner) != 0 ||
            !ProcFs::readFile(folder.get(), "cmdline", text, longestCommandLine)) {
            return std::nullopt;
        }
        if (std::optional<ForwarderCommand> command = ForwarderCommand::parse(
                Program::Conmon, ProcessInspector::splitArguments(text), 0)) {
            return Monitor{*std::move(command), owner.st_uid != 0};
        }
    }
    return std::nullopt;
}

std::optional<Container> ofMonitor(const std::optional<Monitor> &monitor)
{
    return monitor ? std::optional(Container{.id = monitor->command.containerId,
                                             .name = monitor->command.containerName,
                                             .runtime = "podman",
                                             .isOfUser = monitor->isOfUser})
                   : std::nullopt;
}

/// What a regular file of the system holds; a pipe or the like is never waited for.
std::string readRegularFile(const std::string &path, std::size_t limit)
{
    std::string text;
    struct stat status = {};
    const FileDescriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY));
    if (file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
        ProcFs::readWhole(file.get(), text, limit);
    }
    return text;
}

std::string nameOfDocker(const std::string &id)
{
    constexpr std::size_t longestConfiguration = 1024UL * 1024;
    const std::string text = readRegularFile("/var/lib/docker/containers/" + id + "/config.v2.json",
                                             longestConfiguration);
    return std::string(ContainerLookup::nameInDockerConfiguration(text));
}

bool isThere(const char *path)
{
    return ::access(path, F_OK) == 0;
}

/// LXD and Incus start containers through liblxc, whose groups have the same names.
std::string runtimeOfLxc()
{
    if (isThere("/var/lib/incus/containers")) {
        return "incus";
    }
    return isThere("/var/snap/lxd/common/lxd") || isThere("/var/lib/lxd/containers") ? "lxd"
                                                                                     : "lxc";
}

} // namespace

std::string_view ContainerLookup::nameInDockerConfiguration(std::string_view text)
{
    // A container's name begins with a slash there, as no other "Name" in the file does.
    constexpr std::string_view key = "\"Name\":\"/";
    const std::size_t at = text.find(key);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = text.substr(at + key.size());
    const std::string_view name = rest.substr(0, rest.find('"'));
    return ContainerGroup::isName(name) ? name : std::string_view();
}

std::optional<Container> ContainerLookup::of(int root, pid_t pid)
{
    std::string groups;
    const FileDescriptor file = ProcFs::openOfProcess(root, pid, "/cgroup");
    if (!file || !ProcFs::readWhole(file.get(), groups, longestGroups)) {
        return std::nullopt;
    }
    std::optional<Container> found = ofGroups(root, pid, groups);
    return found ? found : ofMonitor(monitorOf(root, pid));
}

std::optional<Container> ContainerLookup::ofGroups(int root, pid_t pid, std::string_view groups)
{
    std::optional<Container> found = ContainerGroup::find(groups);
    if (!found) {
        return found;
    }
    if (found->runtime == "lxc") {
        found->runtime = runtimeOfLxc();
    } else if (found->runtime == "docker") {
        found->name = nameOfDocker(found->id);
    } else if (found->runtime == "podman" || found->runtime.empty()) {
        const std::optional<Container> monitored = ofMonitor(monitorOf(root, pid));
        return monitored && monitored->id == found->id ? monitored : found;
    }
    return found;
}

} // namespace Tarnwick
