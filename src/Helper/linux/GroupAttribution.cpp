// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/GroupAttribution.h"

#include "Helper/linux/ParallelLoop.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <mutex>

namespace Tarnwick {

namespace {

/// What is compared of a command line; each socket of a group has those of all members compared.
constexpr std::size_t longestCommandLine = 16UL * 1024;
/// With fewer processes to look at than this, threads cost more than they save.
constexpr std::size_t worthThreads = 128;

bool isShell(const GroupMember &member)
{
    return member.stat.isShell();
}

/// Threads of the kernel, zombies, and processes that were searched own no socket.
bool isPossible(const GroupMember &member)
{
    return !member.readable && !member.stat.isKernelThread() && member.stat.state != 'Z';
}

bool isOfUser(const GroupMember &member, uid_t user)
{
    return std::find(member.users.begin(), member.users.end(), user) != member.users.end();
}

/// Whether @p member was told to run @p child: `timeout 60 server --port 80`.
bool runs(const GroupMember &member, const GroupMember &child)
{
    const std::string_view whole = member.commandLine;
    const std::string_view part = child.commandLine;
    return child.stat.parent == member.pid && whole.size() > part.size() && whole.ends_with(part) &&
           whole[whole.size() - part.size() - 1] == '\0';
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// Keeps the members that @p wanted picks, unless it picks none.
template<class Wanted>
void prefer(std::vector<GroupMember> &members, const Wanted &wanted)
{
    if (std::any_of(members.begin(), members.end(), wanted)) {
        std::erase_if(members, std::not_fn(wanted));
    }
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

} // namespace

GroupAttribution::Answer GroupAttribution::owner(const ListeningSocket &socket)
{
    const std::optional<std::string> path = m_groups.path(socket.controlGroup);
    if (!path) {
        return {};
    }
    const std::optional<std::string> service = ControlGroups::serviceOfSocketUnit(*path);
    Answer answer{std::nullopt, service.value_or(*path), ControlGroups::unit(*path), false};
    if (ControlGroups::isShared(answer.group)) {
        answer.owner = chooseAmongStrangers(possibleStrangers(answer.group), socket);
        return answer;
    }
    const std::vector<GroupMember> members = candidates(answer.group, socket.port);
    answer.idleUnit = service && members.empty();
    answer.owner = choose(members, socket);
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

std::optional<pid_t> GroupAttribution::chooseAmongStrangers(std::span<const GroupMember> possible,
                                                            const ListeningSocket &socket)
{
    const bool decided = possible.size() == 1 && isOfUser(possible.front(), socket.uid) &&
                         namesPort(possible.front().commandLine, socket.port);
    return decided ? std::optional(possible.front().pid) : std::nullopt;
}

std::optional<pid_t> GroupAttribution::choose(std::vector<GroupMember> members,
                                              const ListeningSocket &socket)
{
    std::erase_if(members, std::not_fn(isPossible));
    prefer(members, std::not_fn(isShell));
    prefer(members, [all = members](const GroupMember &member) {
        return std::none_of(all.begin(), all.end(),
                            [&member](const GroupMember &child) { return runs(member, child); });
    });
    prefer(members, [&socket](const GroupMember &member) {
        return namesPort(member.commandLine, socket.port);
    });
    prefer(members, [&socket](const GroupMember &member) { return isOfUser(member, socket.uid); });
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
    return rivals == 1 ? std::optional(earliest->pid) : std::nullopt;
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
        if (m_accessTo(pid) != Access::HoldsNothing) {
            GroupMember member;
            member.pid = pid;
            found.push_back(std::move(member));
        }
    }
    const Parallel parallel = found.size() >= worthThreads ? Parallel::WhereItHelps : Parallel::No;
    parallelLoop(found.size(), parallel,
                 [this, &found](std::size_t at) { readCommandLine(found[at]); });
    // Threads of the kernel, and what has ended, have no command line.
    std::erase_if(found, [](const GroupMember &member) { return member.commandLine.empty(); });
    return found;
}

void GroupAttribution::readCommandLine(GroupMember &member) const
{
    // Most command lines are far shorter than what reading takes room for.
    thread_local std::string text;
    const FileDescriptor file = ProcFs::openOfProcess(m_procRoot, member.pid, "/cmdline");
    if (file && ProcFs::readWhole(file.get(), text, longestCommandLine)) {
        member.commandLine.assign(text);
    }
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
    for (GroupMember &member : entry->second) {
        if (all || namesPort(member.commandLine, port)) {
            if (!member.complete) {
                complete(member);
            }
            found.push_back(member);
        }
    }
    return found;
}

/// Those of a group that could own a socket although they may not be looked into. Two are as good
/// as any number, and where many may not be looked into, two are soon found.
const std::vector<GroupMember> &GroupAttribution::possibleStrangers(const std::string &path)
{
    const auto [entry, isNew] = m_strangers.try_emplace(path);
    std::vector<GroupMember> &found = entry->second;
    if (!isNew) {
        return found;
    }
    const std::vector<pid_t> processes = m_groups.processes(path);
    const Parallel parallel =
        processes.size() >= worthThreads ? Parallel::WhereItHelps : Parallel::No;
    std::mutex mutex;
    std::atomic<bool> isEnough = false;
    parallelLoop(processes.size(), parallel, [&](std::size_t at) {
        if (isEnough || m_accessTo(processes[at]) != Access::Unknown ||
            mayLookInto(processes[at])) {
            return;
        }
        GroupMember member;
        member.pid = processes[at];
        readCommandLine(member);
        complete(member);
        if (!member.commandLine.empty() && isPossible(member) && !isShell(member)) {
            const std::lock_guard lock(mutex);
            found.push_back(std::move(member));
            isEnough = found.size() > 1;
        }
    });
    return found;
}

bool GroupAttribution::mayLookInto(pid_t pid) const
{
    const FileDescriptor descriptors = ProcFs::openDirectoryOfProcess(m_procRoot, pid, "/fd");
    return descriptors && ProcFs::mayLookAt(descriptors.get());
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
    member.readable = mayLookInto(member.pid);
    std::string status;
    ProcFs::readFile(directory.get(), "status", status, longestStatus);
    member.users = ProcFs::parseUsers(status);
    member.complete = true;
}

} // namespace Tarnwick
