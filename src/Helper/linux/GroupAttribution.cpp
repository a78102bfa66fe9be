// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/GroupAttribution.h"

#include "Helper/linux/ParallelLoop.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Tarnwick {

namespace {

constexpr std::size_t longestCommandLine = 64UL * 1024;

constexpr std::array<std::string_view, 8> shells{"sh",  "bash", "dash", "zsh",
                                                 "ksh", "fish", "mksh", "ash"};

bool isShell(const GroupMember &member)
{
    return std::find(shells.begin(), shells.end(), member.stat.comm) != shells.end();
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// Keeps the members that @p wanted picks, unless it picks none. True when it picked some.
template<class Wanted>
bool prefer(std::vector<GroupMember> &members, const Wanted &wanted)
{
    if (std::none_of(members.begin(), members.end(), wanted)) {
        return false;
    }
    members.erase(std::remove_if(members.begin(), members.end(), std::not_fn(wanted)),
                  members.end());
    return true;
}

std::vector<pid_t> identifiers(const std::vector<GroupMember> &members)
{
    std::vector<pid_t> pids;
    pids.reserve(members.size());
    for (const GroupMember &member : members) {
        pids.push_back(member.pid);
    }
    return pids;
}

/// The users in the line "Uid:" of /proc/PID/status: real, effective, saved, file system.
std::vector<uid_t> parseUsers(std::string_view status)
{
    constexpr std::string_view key = "\nUid:";
    std::vector<uid_t> users;
    const std::size_t line = status.find(key);
    if (line == std::string_view::npos) {
        return users;
    }
    status.remove_prefix(line + key.size());
    status = status.substr(0, status.find('\n'));
    while (!status.empty()) {
        status.remove_prefix(std::min(status.size(), status.find_first_not_of("\t ")));
        uid_t user = 0;
        const auto parsed = std::from_chars(status.data(), status.data() + status.size(), user);
        if (parsed.ec != std::errc{}) {
            break;
        }
        users.push_back(user);
        status.remove_prefix(static_cast<std::size_t>(parsed.ptr - status.data()));
    }
    return users;
}

} // namespace

GroupAttribution::Answer GroupAttribution::owner(const ListeningSocket &socket)
{
    const std::optional<std::string> path = m_groups.path(socket.controlGroup);
    if (!path) {
        return {};
    }
    const std::optional<std::string> service = ControlGroups::serviceOfSocketUnit(*path);
    Answer answer{std::nullopt, service.value_or(*path), ControlGroups::unit(*path), false};
    const std::vector<GroupMember> members = candidates(answer.group, socket.port);
    answer.idleUnit = service && members.empty();
    answer.owner = choose(members, socket, ControlGroups::isShared(answer.group));
    return answer;
}

std::vector<pid_t> GroupAttribution::searchable(const ListeningSocket &socket)
{
    std::vector<pid_t> found;
    if (const std::optional<std::string> path = m_groups.path(socket.controlGroup)) {
        const std::string group = ControlGroups::serviceOfSocketUnit(*path).value_or(*path);
        for (const GroupMember &member : candidates(group, socket.port)) {
            if (member.readable) {
                found.push_back(member.pid);
            }
        }
    }
    return found;
}

std::optional<pid_t> GroupAttribution::choose(std::vector<GroupMember> members,
                                              const ListeningSocket &socket, bool shared)
{
    const auto impossible = [](const GroupMember &member) {
        return member.readable || member.stat.isKernelThread() || member.stat.state == 'Z';
    };
    members.erase(std::remove_if(members.begin(), members.end(), impossible), members.end());
    prefer(members, std::not_fn(isShell));
    const bool named = prefer(members, [&socket](const GroupMember &member) {
        return namesPort(member.commandLine, socket.port);
    });
    if (shared && !named) {
        return std::nullopt;
    }
    prefer(members, [&socket](const GroupMember &member) {
        return std::find(member.users.begin(), member.users.end(), socket.uid) !=
               member.users.end();
    });
    const std::vector<pid_t> candidates = identifiers(members);
    prefer(members, [&candidates](const GroupMember &member) {
        return std::find(candidates.begin(), candidates.end(), member.stat.parent) ==
               candidates.end();
    });
    if (members.empty()) {
        return std::nullopt;
    }
    const auto earliest = std::min_element(members.begin(), members.end(),
                                           [](const GroupMember &left, const GroupMember &right) {
                                               return left.stat.startTicks < right.stat.startTicks;
                                           });
    const auto rivals =
        std::count_if(members.begin(), members.end(), [&](const GroupMember &member) {
            return member.stat.comm == earliest->stat.comm ||
                   member.stat.startTicks == earliest->stat.startTicks;
        });
    const bool decided = rivals == 1 && (members.size() == 1 || !shared);
    return decided ? std::optional(earliest->pid) : std::nullopt;
}

bool GroupAttribution::namesPort(std::string_view commandLine, std::uint16_t port)
{
    const std::string number = std::to_string(port);
    for (std::size_t at = commandLine.find(number); at != std::string_view::npos;
         at = commandLine.find(number, at + 1)) {
        const std::string_view after = commandLine.substr(at + number.size());
        // Neither a part of a longer number nor of an address or a version.
        const bool begins =
            at == 0 || (!isDigit(commandLine[at - 1]) && commandLine[at - 1] != '.');
        const bool ends =
            after.empty() ||
            (!isDigit(after[0]) && !(after[0] == '.' && after.size() > 1 && isDigit(after[1])));
        if (begins && ends) {
            return true;
        }
    }
    return false;
}

std::vector<GroupMember> GroupAttribution::members(const std::string &path) const
{
    std::vector<GroupMember> found;
    for (const pid_t pid : m_groups.processes(path)) {
        if (m_mayHold(pid)) {
            found.push_back(
                {.stat = {}, .pid = pid, .commandLine = {}, .users = {}, .readable = false});
        }
    }
    constexpr std::size_t worthThreads = 128;
    const Parallel parallel = found.size() >= worthThreads ? Parallel::WhereItHelps : Parallel::No;
    parallelLoop(found.size(), parallel, [this, &found](std::size_t at) {
        // Most command lines are far shorter than what reading takes room for.
        thread_local std::string text;
        const FileDescriptor file = ProcFs::openOfProcess(m_procRoot, found[at].pid, "/cmdline");
        if (file && ProcFs::readWhole(file.get(), text, longestCommandLine)) {
            found[at].commandLine.assign(text);
        }
    });
    // Threads of the kernel, and what has ended, have no command line.
    std::erase_if(found, [](const GroupMember &member) { return member.commandLine.empty(); });
    return found;
}

std::vector<GroupMember> GroupAttribution::candidates(const std::string &path, std::uint16_t port)
{
    const auto [entry, isNew] = m_members.try_emplace(path);
    if (isNew) {
        entry->second = members(path);
    }
    // A group of strangers may be the whole machine: look closer only at those who name the port.
    const bool all = !ControlGroups::isShared(path);
    std::vector<GroupMember> found;
    for (const GroupMember &member : entry->second) {
        if (all || namesPort(member.commandLine, port)) {
            found.push_back(member);
            complete(found.back());
        }
    }
    return found;
}

void GroupAttribution::complete(GroupMember &member) const
{
    constexpr std::size_t longestStatus = 64UL * 1024;
    const FileDescriptor directory = ProcFs::openProcess(m_procRoot, member.pid);
    if (std::optional<ProcFs::Stat> stat = ProcFs::stat(directory.get())) {
        member.stat = *std::move(stat);
    } else {
        member.stat.state = 'Z';
    }
    const FileDescriptor descriptors = ProcFs::openDirectory(directory.get(), "fd");
    member.readable = descriptors && ProcFs::mayLookAt(descriptors.get());
    std::string status;
    ProcFs::readFile(directory.get(), "status", status, longestStatus);
    member.users = parseUsers(status);
}

} // namespace Tarnwick
