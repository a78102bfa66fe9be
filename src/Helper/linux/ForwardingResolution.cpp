// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForwardingResolution.h"

#include "Helper/ProcessName.h"
#include "Helper/RecordBounds.h"
#include "Helper/linux/ContainerLookup.h"
#include "Helper/linux/ProcessInspector.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>

#include <sys/stat.h>

namespace Tarnwick {

namespace {

using Program = ForwarderCommand::Program;
using Number = NetworkNamespaces::Number;

constexpr std::size_t longestCommandLine = 16UL * 1024;
/// What is kept of a command: it stands before the words that say where it runs.
constexpr std::size_t longestCommand = 2048;
/// The descriptors that one look reads at most.
constexpr std::size_t mostDescriptors = 100'000;
/// A container's forwarder may have another one behind it, as Docker without privilege has.
constexpr int mostForwarders = 3;

/// Whether a listener with @p address, as the tables write it, takes what is sent to any address.
bool isAnyAddress(std::string_view address)
{
    return std::all_of(address.begin(), address.end(), [](char digit) { return digit == '0'; });
}

std::string executable(int root, pid_t pid)
{
    std::string path;
    ProcFs::readLink(root, (std::to_string(pid) + "/exe").c_str(), path);
    return path;
}

std::vector<std::string> argumentsOf(int root, pid_t pid)
{
    std::string text;
    const FileDescriptor file = ProcFs::openOfProcess(root, pid, "/cmdline");
    if (file) {
        ProcFs::readWhole(file.get(), text, longestCommandLine);
    }
    return ProcessInspector::splitArguments(text);
}

/// Processes that keep a namespace or reap what ends in it, and serve nothing.
bool isPlaceholder(const ProcFs::Stat &stat)
{
    constexpr std::array<std::string_view, 6> names{"pause",       "catatonit", "docker-init",
                                                    "podman-init", "tini",      "dumb-init"};
    return std::find(names.begin(), names.end(), stat.comm) != names.end();
}

/// What the forwarder is called, by its program: an executable may be one of several builds.
std::string_view titleOf(Program program)
{
    switch (program) {
    case Program::DockerProxy:
        return "docker-proxy";
    case Program::RootlessPort:
        return "rootlessport";
    case Program::RootlessKit:
        return "rootlesskit";
    case Program::Slirp4netns:
        return "slirp4netns";
    case Program::Pasta:
        return "pasta";
    case Program::Conmon:
        return "conmon";
    }
    return {};
}

} // namespace

ForwardingResolution::ForwardingResolution(int root, Clock::time_point deadline)
    : m_root(root)
    , m_deadline(deadline)
    , m_namespaces(root, deadline)
    , m_descriptorsLeft(mostDescriptors)
{
}

const std::optional<ProcFs::Stat> &ForwardingResolution::stat(pid_t pid)
{
    const auto [entry, isNew] = m_stats.try_emplace(pid);
    if (isNew) {
        entry->second = ProcFs::stat(m_root, pid);
    }
    return entry->second;
}

std::optional<Forwarding> ForwardingResolution::find(pid_t forwarder, Program program,
                                                     std::span<const std::string> arguments,
                                                     std::uint16_t port)
{
    const std::optional<ForwarderCommand> command =
        ForwarderCommand::parse(program, arguments, port);
    const std::optional<Number> number = command ? namespaceOf(forwarder, *command) : std::nullopt;
    if (!number) {
        return std::nullopt;
    }
    const std::vector<Member> there = members(*number, forwarder);
    if (there.empty()) {
        return std::nullopt;
    }
    Forwarding found;
    found.forwarder = titleOf(program);
    found.port = command->port;
    const pid_t server = onlyServer(there);
    // The tables are read only where they make a difference: each takes milliseconds.
    if (server != 0 && command->port != 0) {
        found.pid = server;
    } else if (const std::optional<Listener> target = listener(*number, *command, port)) {
        found.port = target->socket.port;
        found.pid = owner(there, *target);
    }
    found.container = container(*command, forwarder, found.pid, there);
    if (found.pid == 0) {
        return found;
    }
    const std::optional<Program> next = ForwarderCommand::programAt(executable(m_root, found.pid));
    if (next && m_depth + 1 < mostForwarders) {
        ++m_depth;
        std::optional<Forwarding> behind =
            find(found.pid, *next, argumentsOf(m_root, found.pid), found.port);
        --m_depth;
        if (behind) {
            behind->forwarder = found.forwarder;
            return behind;
        }
    }
    describe(found);
    return found;
}

std::optional<Number> ForwardingResolution::namespaceOf(pid_t forwarder,
                                                        const ForwarderCommand &command)
{
    if (!command.address.empty()) {
        return namespaceWithAddress(command);
    }
    if (command.target > 0) {
        const std::optional<Number> number = m_namespaces.of(command.target);
        return number && !m_namespaces.isOwn(*number) ? number : std::nullopt;
    }
    if (!command.namespaceFile.empty()) {
        if (const std::optional<Number> number = m_namespaces.atFile(command.namespaceFile)) {
            return number;
        }
    }
    if (const std::optional<Number> number = namespaceBelow(forwarder)) {
        return number;
    }
    return command.program == Program::Pasta ? m_namespaces.heldBy(forwarder) : std::nullopt;
}

/// Namespaces that know nothing of each other may use the same addresses: one in which something
/// listens on the port comes first, then one with a container in it.
std::optional<Number> ForwardingResolution::namespaceWithAddress(const ForwarderCommand &command)
{
    std::vector<Number> candidates = m_namespaces.withAddress(command.address);
    const auto prefer = [&candidates](const auto &wanted) {
        if (std::any_of(candidates.begin(), candidates.end(), wanted)) {
            std::erase_if(candidates, std::not_fn(wanted));
        }
    };
    if (candidates.size() > 1) {
        prefer([&](Number number) {
            const std::vector<Listener> &all = m_namespaces.listeners(number);
            return std::any_of(all.begin(), all.end(), [&command](const Listener &listener) {
                return listener.socket.port == command.port;
            });
        });
        prefer([&](Number number) {
            const std::vector<pid_t> &processes = m_namespaces.processes(number);
            return !processes.empty() && ContainerLookup::of(m_root, processes.front());
        });
    }
    return candidates.empty() ? std::nullopt : std::optional(candidates.front());
}

/// The namespace of a process below the forwarder in the tree of processes.
std::optional<Number> ForwardingResolution::namespaceBelow(pid_t forwarder)
{
    for (const Number number : m_namespaces.others()) {
        for (pid_t pid : m_namespaces.processes(number)) {
            constexpr int maxAncestors = 64;
            for (int level = 0; level < maxAncestors && pid > 1; ++level) {
                const std::optional<ProcFs::Stat> &found = stat(pid);
                pid = found ? found->parent : 0;
                if (pid == forwarder) {
                    return number;
                }
            }
        }
    }
    return std::nullopt;
}

/// Whether @p pid is a process that the forwarder has for itself in the namespace: a child with the
/// same executable, or, where that may not be read, of the same name.
bool ForwardingResolution::isOfForwarder(pid_t pid, pid_t forwarder)
{
    const std::optional<ProcFs::Stat> &child = stat(pid);
    const std::optional<ProcFs::Stat> &parent = stat(forwarder);
    if (!child || !parent || child->parent != forwarder) {
        return pid == forwarder;
    }
    const std::string path = executable(m_root, pid);
    return path.empty() ? child->comm == parent->comm : path == executable(m_root, forwarder);
}

/// The processes in the namespace but those of the forwarder itself.
std::vector<ForwardingResolution::Member> ForwardingResolution::members(Number number,
                                                                        pid_t forwarder)
{
    std::vector<Member> found;
    for (const pid_t pid : m_namespaces.processes(number)) {
        const std::optional<ProcFs::Stat> &known = stat(pid);
        if (known && known->state != 'Z' && !known->isKernelThread() &&
            !isOfForwarder(pid, forwarder)) {
            found.push_back({pid, *known});
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Member &left, const Member &right) {
        return left.stat.startTicks < right.stat.startTicks;
    });
    return found;
}

/// The only process in the namespace that can be a server; 0 where there are several.
pid_t ForwardingResolution::onlyServer(const std::vector<Member> &members)
{
    pid_t server = 0;
    for (const Member &member : members) {
        if (isPlaceholder(member.stat)) {
            continue;
        }
        if (server != 0 || member.stat.isShell()) {
            return 0;
        }
        server = member.pid;
    }
    return server;
}

/// The socket that takes what is forwarded. Where the port is not known, it is the same port, or
/// the only one on which anything listens there.
std::optional<NetworkNamespaces::Listener>
ForwardingResolution::listener(Number number, const ForwarderCommand &command, std::uint16_t port)
{
    std::vector<Listener> all = m_namespaces.listeners(number);
    const auto keep = [&all](std::uint16_t wanted) {
        std::erase_if(
            all, [wanted](const Listener &listener) { return listener.socket.port != wanted; });
    };
    const bool isSame = std::any_of(all.begin(), all.end(), [port](const Listener &listener) {
        return listener.socket.port == port;
    });
    const bool isOnly = std::all_of(all.begin(), all.end(), [&all](const Listener &listener) {
        return listener.socket.port == all.front().socket.port;
    });
    if (command.port != 0) {
        keep(command.port);
    } else if (isSame) {
        keep(port);
    } else if (!isOnly) {
        return std::nullopt;
    }
    const auto any = std::find_if(all.begin(), all.end(), [](const Listener &listener) {
        return isAnyAddress(listener.address);
    });
    if (any != all.end()) {
        return *any;
    }
    return all.empty() ? std::nullopt : std::optional(all.front());
}

bool ForwardingResolution::holds(pid_t pid, std::uint32_t inode, bool &isReadable)
{
    std::vector<ProcFs::NumberedEntry> entries;
    const FileDescriptor folder = ProcFs::openDirectoryOfProcess(m_root, pid, "/fd");
    isReadable = folder && ProcFs::readNumbers(folder.get(), entries, m_descriptorsLeft) &&
                 ProcFs::mayLookAt(folder.get());
    for (const ProcFs::NumberedEntry &entry : entries) {
        if (!isReadable || m_descriptorsLeft == 0 || Clock::now() > m_deadline) {
            isReadable = false;
            return false;
        }
        --m_descriptorsLeft;
        const ProcFs::Descriptor seen = ProcFs::descriptor(folder.get(), entry.number);
        if (seen.kind == ProcFs::Descriptor::Kind::Socket && seen.inode == inode) {
            return true;
        }
    }
    return false;
}

/// The process that owns the socket: of those that are seen to hold it the one that started first.
pid_t ForwardingResolution::owner(const std::vector<Member> &members, const Listener &listener)
{
    constexpr std::size_t longestStatus = 64UL * 1024;
    std::vector<GroupMember> unseen;
    for (const Member &member : members) {
        GroupMember candidate;
        candidate.pid = member.pid;
        candidate.stat = member.stat;
        if (holds(member.pid, listener.socket.inode, candidate.readable)) {
            return member.pid;
        }
        if (candidate.readable || isPlaceholder(member.stat)) {
            continue;
        }
        std::string status;
        const FileDescriptor folder = ProcFs::openProcess(m_root, member.pid);
        if (folder && ProcFs::readFile(folder.get(), "status", status, longestStatus)) {
            candidate.users = ProcFs::parseUsers(status);
            ProcFs::readFile(folder.get(), "cmdline", candidate.commandLine, longestCommandLine);
            unseen.push_back(std::move(candidate));
        }
    }
    return GroupAttribution::choose(std::move(unseen), listener.socket).value_or(0);
}

Container ForwardingResolution::container(const ForwarderCommand &command, pid_t forwarder,
                                          pid_t behind, const std::vector<Member> &members) const
{
    std::optional<Container> found;
    if (behind != 0) {
        found = ContainerLookup::of(m_root, behind);
    }
    for (auto member = members.begin(); member != members.end() && !found; ++member) {
        found = ContainerLookup::of(m_root, member->pid);
    }
    if (!found && !command.containerId.empty()) {
        struct stat owner = {};
        const FileDescriptor folder = ProcFs::openProcess(m_root, forwarder);
        const bool isOfUser = folder && ::fstat(folder.get(), &owner) == 0 && owner.st_uid != 0;
        found = Container{.id = command.containerId,
                          .name = command.containerName,
                          .runtime = "podman",
                          .isOfUser = isOfUser};
    }
    return found.value_or(Container{});
}

/// Reads what the process behind is called.
void ForwardingResolution::describe(Forwarding &forwarding) const
{
    constexpr std::size_t longestName = 64;
    std::string comm;
    const FileDescriptor folder = ProcFs::openProcess(m_root, forwarding.pid);
    if (folder && ProcFs::readFile(folder.get(), "comm", comm, longestName)) {
        comm.resize(comm.size() - (comm.ends_with('\n') ? 1 : 0));
    }
    const std::vector<std::string> arguments = argumentsOf(m_root, forwarding.pid);
    forwarding.processName =
        RecordBounds::name(ProcessName::from(comm, executable(m_root, forwarding.pid), arguments));
    std::string command;
    for (const std::string &argument : arguments) {
        if (command.size() + argument.size() > longestCommand) {
            break;
        }
        command += (command.empty() || argument.empty() ? "" : " ") + argument;
    }
    forwarding.command = RecordBounds::path(command.empty() ? forwarding.processName : command);
}

} // namespace Tarnwick
