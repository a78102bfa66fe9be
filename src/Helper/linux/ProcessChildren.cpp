// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessChildren.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// More children than anybody waits for; those of the longest list fill a few pages.
constexpr std::size_t maxListBytes = 64UL * 1024;
/// Reading so many lists costs as much as reading the parents of all processes.
constexpr std::size_t maxThreads = 512;
constexpr std::size_t several = 2;

} // namespace

ProcessChildren::Children ProcessChildren::read(pid_t pid, pid_t living)
{
    Children children;
    if (m_source == Source::Parents || !readLists(pid, living, children)) {
        children.first = withParent(pid, living);
    }
    return children;
}

std::string ProcessChildren::listOfMainThread(pid_t pid) const
{
    return m_source == Source::ThreadLists ? listOfThread(pid, pid).value_or("") : std::string();
}

/// Nothing when it cannot be read.
std::optional<std::string> ProcessChildren::listOfThread(pid_t pid, pid_t thread) const
{
    std::string list;
    const FileDescriptor file =
        ProcFs::openOfProcess(m_root, pid, "/task/" + std::to_string(thread) + "/children");
    const bool isRead = file && ProcFs::readWhole(file.get(), list, maxListBytes);
    return isRead ? std::optional(std::move(list)) : std::nullopt;
}

bool ProcessChildren::isChild(pid_t child, pid_t parent) const
{
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, child);
    return stat && stat->parent == parent && !ProcFs::isZombie(m_root, child, *stat);
}

/// Adds those of the list @p rest, identifiers each followed by a blank, until there are several.
void ProcessChildren::takeLiving(std::string_view rest, pid_t living,
                                 std::vector<Child> &children) const
{
    while (children.size() < several) {
        const std::size_t end = rest.find(' ');
        pid_t child = 0;
        if (end == std::string_view::npos ||
            std::from_chars(rest.data(), rest.data() + end, child).ec != std::errc{}) {
            return;
        }
        rest.remove_prefix(end + 1);
        takeIfLiving(child, living, children);
    }
}

/// False when the kernel has no such lists or the threads are too many.
bool ProcessChildren::readLists(pid_t pid, pid_t living, Children &children) const
{
    const std::optional<std::string> ofMainThread = listOfThread(pid, pid);
    children.mainThreadList = ofMainThread.value_or("");
    takeLiving(children.mainThreadList, living, children.first);
    const bool isAll = ofMainThread && ProcFs::threadCount(m_root, pid) == 1;
    if (isAll || children.first.size() >= several) {
        return true;
    }
    const FileDescriptor tasks = ProcFs::openDirectoryOfProcess(m_root, pid, "/task");
    std::vector<ProcFs::NumberedEntry> threads;
    if (!tasks || !ProcFs::readNumbers(tasks.get(), threads)) {
        return true; // it has ended, or may not be seen
    }
    if (threads.size() > maxThreads) {
        return false;
    }
    for (const ProcFs::NumberedEntry &entry : threads) {
        const auto thread = static_cast<pid_t>(entry.number);
        if (thread == pid && ofMainThread) {
            continue;
        }
        const std::optional<std::string> list = listOfThread(pid, thread);
        if (!list && errno == ENOENT && ProcFs::openProcess(tasks.get(), thread)) {
            return false;
        }
        takeLiving(list.value_or(""), living, children.first);
        if (children.first.size() >= several) {
            break;
        }
    }
    return true;
}

std::vector<ProcessChildren::Child> ProcessChildren::withParent(pid_t pid, pid_t living)
{
    if (m_byParent.empty()) {
        for (const ProcFs::ProcessEntry &process : ProcFs::processes(m_root)) {
            if (const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, process.pid)) {
                m_byParent[stat->parent].push_back(process.pid);
            }
        }
    }
    std::vector<Child> children;
    if (const auto found = m_byParent.find(pid); found != m_byParent.end()) {
        for (const pid_t child : found->second) {
            takeIfLiving(child, living, children);
            if (children.size() >= several) {
                break;
            }
        }
    }
    return children;
}

void ProcessChildren::takeIfLiving(pid_t pid, pid_t living, std::vector<Child> &children) const
{
    Child child{.pid = pid, .clock = {}};
    if (m_numbering == ProcFs::Numbering::Own) {
        // The time first: an end after it makes it advance.
        child.clock = ProcessorClock(pid);
        static_cast<void>(child.clock.hasAdvanced());
    }
    if (pid == living || lives(pid)) {
        children.push_back(child);
    }
}

bool ProcessChildren::lives(pid_t pid) const
{
    if (const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, pid)) {
        return !ProcFs::isZombie(m_root, pid, *stat);
    }
    // /proc may hide processes of other users.
    return m_numbering == ProcFs::Numbering::Own && ::getpgid(pid) >= 0;
}

} // namespace Tarnwick
