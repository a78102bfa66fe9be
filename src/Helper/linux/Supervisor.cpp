// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/Supervisor.h"

#include "Helper/linux/ContainerLookup.h"
#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessInspector.h"
#include "Helper/linux/ProcessManagers.h"
#include "Helper/linux/UnitFiles.h"
#include "Shared/ShellQuoting.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::size_t maxTextBytes = 64UL * 1024;
constexpr int maxAncestors = 64;

/// What is read of the processes around one.
class Surroundings
{
public:
    explicit Surroundings(std::int32_t pid)
        : m_root(ProcFs::openRoot())
        , m_pid(pid)
    {
    }

    [[nodiscard]] std::string read(std::int32_t pid, std::string_view name) const
    {
        std::string text;
        const FileDescriptor file = ProcFs::openOfProcess(m_root.get(), pid, name);
        if (file) {
            ProcFs::readWhole(file.get(), text, maxTextBytes);
        }
        return text;
    }

    [[nodiscard]] std::vector<std::string> environment() const
    {
        return ProcessInspector::splitArguments(read(m_pid, "/environ"));
    }

    [[nodiscard]] ParentProcess parent(std::int32_t pid, const ProcFs::Stat &stat) const
    {
        ParentProcess parent{
            pid, stat.comm, ProcessInspector::splitArguments(read(pid, "/cmdline")), {}};
        const std::string link = std::to_string(pid) + "/cwd";
        ProcFs::readLink(m_root.get(), link.c_str(), parent.directory);
        return parent;
    }

    /// The ancestors of the process, the parent first, without process 1.
    [[nodiscard]] std::vector<std::pair<std::int32_t, ProcFs::Stat>> ancestors() const
    {
        std::vector<std::pair<std::int32_t, ProcFs::Stat>> found;
        std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root.get(), m_pid);
        while (stat && stat->parent > 1 && found.size() < maxAncestors) {
            const std::int32_t parent = stat->parent;
            stat = ProcFs::stat(m_root.get(), parent);
            if (stat) {
                found.emplace_back(parent, *stat);
            }
        }
        return found;
    }

    [[nodiscard]] int root() const { return m_root.get(); }
    [[nodiscard]] std::int32_t pid() const { return m_pid; }

private:
    FileDescriptor m_root;
    std::int32_t m_pid;
};

/// The path of the process's group in the hierarchy of the service manager (cgroups(7)).
std::string_view unitPath(std::string_view text)
{
    std::string_view found;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        line.remove_prefix(std::min(line.size(), line.find(':')));
        for (const std::string_view controllers : {"::", ":name=systemd:"}) {
            if (line.starts_with(controllers) && found.size() < line.size() - controllers.size()) {
                found = line.substr(controllers.size());
            }
        }
    }
    return found;
}

/// The user of the service manager "user@1000.service" that is on the path; nothing for none.
std::optional<uid_t> managerOn(std::string_view path)
{
    constexpr std::string_view prefix = "/user@";
    const std::size_t at = path.find(prefix);
    uid_t user = 0;
    if (at == std::string_view::npos ||
        std::from_chars(path.data() + at + prefix.size(), path.data() + path.size(), user).ec !=
            std::errc{}) {
        return std::nullopt;
    }
    return user;
}

/// Whether the service manager starts the service again once it has ended: by itself, or for the
/// next connection to a socket that it holds.
bool comesBack(const UnitFiles &files, const std::string &service)
{
    if (!files.has(service)) {
        return true; // nothing is known of it
    }
    const std::string restart = files.value(service, "Service", "Restart");
    const std::string socket = service.substr(0, service.rfind('.')) + ".socket";
    return (!restart.empty() && restart != "no") || files.has(socket);
}

std::optional<Supervisor> unitOf(std::string_view path)
{
    const std::string unit = ControlGroups::unit(path);
    const std::optional<uid_t> user = managerOn(path);
    if (!unit.ends_with(".service") || unit.starts_with("user@")) {
        return std::nullopt;
    }
    const UnitFiles files = user ? UnitFiles::ofUser(*user) : UnitFiles::ofSystem();
    if (!comesBack(files, unit)) {
        return std::nullopt;
    }
    // A socket that stays starts the service anew.
    const std::string socket = unit.substr(0, unit.rfind('.')) + ".socket";
    const std::string quoted = unit.find_first_of("\\'\" $;&|<>()") == std::string::npos
                                   ? unit
                                   : ShellQuoting::quote(unit);
    const std::string both = files.has(socket) ? socket + ' ' + quoted : quoted;
    const std::string command =
        user ? "systemctl --user stop "
             : (::geteuid() == 0 ? "systemctl stop " : "sudo systemctl stop ");
    return Supervisor{user ? Supervisor::Kind::UserUnit : Supervisor::Kind::SystemUnit,
                      Utf8::sanitized(unit), 0, Utf8::sanitized(command + both)};
}

Supervisor sanitized(Supervisor supervisor)
{
    supervisor.name = Utf8::sanitized(supervisor.name);
    supervisor.stopCommand = Utf8::sanitized(supervisor.stopCommand);
    return supervisor;
}

/// A container other than the one that this process runs in.
std::optional<Supervisor> containerAround(const Surroundings &around)
{
    const std::optional<Container> found = ContainerLookup::of(around.root(), around.pid());
    if (!found || found == ContainerLookup::of(around.root(), ::getpid())) {
        return std::nullopt;
    }
    return Supervisor{Supervisor::Kind::Container, "container " + found->title(), 0,
                      found->stopCommand()};
}

/// A process that is known for nothing but having started both. A service manager is no such one.
std::optional<Supervisor> ordinary(const ParentProcess &parent)
{
    if (parent.comm == "systemd") {
        return std::nullopt;
    }
    // A shell that a person types into ignores the signal that ends others.
    const bool isShell = ProcFs::Stat{.comm = parent.comm}.isShell();
    return Supervisor{isShell ? Supervisor::Kind::Shell : Supervisor::Kind::Process, parent.comm,
                      parent.pid, isShell ? std::string() : "kill " + std::to_string(parent.pid)};
}

} // namespace

std::optional<Supervisor> supervisorOf(std::int32_t pid)
{
    const Surroundings around(pid);
    if (std::optional<Supervisor> found = containerAround(around)) {
        return found;
    }
    const std::vector<std::string> environment = around.environment();
    std::optional<Supervisor> shell;
    bool isParent = true;
    for (const auto &[ancestor, stat] : around.ancestors()) {
        std::optional<Supervisor> found =
            ProcessManagers::recognise(around.parent(ancestor, stat), environment);
        if (found && found->kind != Supervisor::Kind::Shell) {
            return sanitized(*std::move(found));
        }
        // One further up waits for something else, of which the process is a part.
        if (found && isParent) {
            shell = sanitized(*std::move(found));
        }
        isParent = false;
    }
    std::optional<Supervisor> unit = unitOf(unitPath(around.read(pid, "/cgroup")));
    return unit ? unit : shell;
}

std::optional<Supervisor> restarterOf(std::int32_t pid, std::span<const std::int32_t> former)
{
    const Surroundings around(pid);
    if (std::optional<Supervisor> found = containerAround(around)) {
        return found;
    }
    const std::vector<std::string> environment = around.environment();
    std::optional<Supervisor> common;
    for (const auto &[ancestor, stat] : around.ancestors()) {
        if (std::find(former.begin(), former.end(), ancestor) == former.end()) {
            continue;
        }
        const ParentProcess parent = around.parent(ancestor, stat);
        common = ProcessManagers::recognise(parent, environment);
        if (common && common->kind != Supervisor::Kind::Shell) {
            return sanitized(*std::move(common));
        }
        common = common ? common : ordinary(parent);
        break;
    }
    // What runs in a service is started again with it.
    std::optional<Supervisor> unit = unitOf(unitPath(around.read(pid, "/cgroup")));
    return unit || !common ? unit : sanitized(*std::move(common));
}

} // namespace Tarnwick
