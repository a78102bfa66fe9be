// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/AncestorProcess.h"

#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

AncestorProcess::AncestorProcess(int root, pid_t pid, ProcFs::Numbering numbering,
                                 ProcessChildren &children)
    : m_root(root)
    , m_pid(pid)
    , m_numbering(numbering)
    , m_childLists(children)
{
    if (numbering == ProcFs::Numbering::Own) {
        m_clock = ProcessorClock(pid);
    }
    // The time first: what is read after it cannot have changed before it.
    static_cast<void>(m_clock.hasAdvanced());
    static_cast<void>(readStat());
}

AncestorProcess::Change AncestorProcess::refresh(const Moment &moment)
{
    // In this order: each call of hasAdvanced() is for one reading.
    const bool hasRun = m_clock.hasAdvanced();
    const bool mayHaveChanged = std::exchange(m_isStale, false) || hasRun || moment.othersRun;
    Change change = mayHaveChanged ? readStat() : Change::None;
    if (mayHaveChanged && m_command && readCommandAgain()) {
        change = std::max(change, Change::Some);
    }
    if (m_areChildrenRead && mayHaveOtherChildren(moment, mayHaveChanged) && readChildrenAgain()) {
        change = std::max(change, Change::Some);
    }
    return change;
}

AncestorProcess::Change AncestorProcess::readStat()
{
    const std::uint64_t failures = SystemFailures::count();
    std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, m_pid);
    if (stat && ProcFs::isZombie(m_root, m_pid, *stat)) {
        stat.reset();
    }
    if (SystemFailures::count() != failures) {
        m_isStale = true;
        return Change::None;
    }
    const bool existed = std::exchange(m_exists, stat.has_value());
    const bool isOther = !stat || stat->startTicks != m_startTicks;
    if (existed && isOther) {
        m_command.reset();
        m_areChildrenRead = false;
    }
    const ProcessPlace before = m_place;
    m_place = {};
    if (stat) {
        m_startTicks = stat->startTicks;
        m_place = {.parent = stat->parent, .group = stat->processGroup};
        m_comm = std::move(stat->comm);
    }
    if (existed && isOther) {
        return Change::Ended;
    }
    return existed != m_exists || m_place != before ? Change::Some : Change::None;
}

const ProcessPlace &AncestorProcess::readPlaceAgain()
{
    static_cast<void>(readStat());
    return m_place;
}

AncestorProcess::Command AncestorProcess::readCommand() const
{
    Command command;
    std::string executable;
    if (const FileDescriptor directory = ProcFs::openProcess(m_root, m_pid)) {
        ProcFs::readFile(directory.get(), "cmdline", command.line, maxCommandLineBytes);
        ProcFs::readLink(directory.get(), "exe", executable);
    }
    command.kind = LaunchingProgram::ofProcess(m_comm, executable, command.line);
    return command;
}

const AncestorProcess::Command &AncestorProcess::command()
{
    if (!m_command) {
        const std::uint64_t failures = SystemFailures::count();
        m_command = readCommand();
        m_isStale = m_isStale || SystemFailures::count() != failures;
    }
    return *m_command;
}

bool AncestorProcess::readCommandAgain()
{
    const std::uint64_t failures = SystemFailures::count();
    Command now = readCommand();
    if (SystemFailures::count() != failures) {
        m_isStale = true;
        return false;
    }
    const bool isOther = now != *m_command;
    m_command = std::move(now);
    return isOther;
}

LaunchingProgram::Kind AncestorProcess::kind()
{
    return command().kind;
}

const std::string &AncestorProcess::commandLine()
{
    return command().line;
}

bool AncestorProcess::hasOnlyChild(pid_t child)
{
    if (!m_areChildrenRead) {
        const std::uint64_t failures = SystemFailures::count();
        m_children = m_childLists.read(m_pid);
        m_areChildrenRead = true;
        m_areChildrenStale = SystemFailures::count() != failures;
    }
    return onlyChild() == child;
}

/// A child comes by a fork of its parent, which has run for it, or is an orphan that the parent
/// adopts in its main thread. One goes by its own end, which it has run for; where it stays a
/// zombie, no process is counted as gone.
bool AncestorProcess::mayHaveOtherChildren(const Moment &moment, bool mayHaveChanged)
{
    if (std::exchange(m_areChildrenStale, false)) {
        return true;
    }
    if (m_children.first.size() > 1) {
        return std::any_of(m_children.first.begin(), m_children.first.end(), [&](auto &child) {
            const bool hasRun = child.clock.hasAdvanced();
            return (hasRun || moment.othersRun) && !m_childLists.isChild(child.pid, m_pid);
        });
    }
    return moment.processesChanged &&
           (mayHaveChanged || m_childLists.listOfMainThread(m_pid) != m_children.mainThreadList);
}

bool AncestorProcess::readChildrenAgain()
{
    const std::uint64_t failures = SystemFailures::count();
    ProcessChildren::Children now = m_childLists.read(m_pid);
    if (SystemFailures::count() != failures) {
        m_areChildrenStale = true;
        return false;
    }
    const pid_t before = onlyChild();
    m_children = std::move(now);
    return onlyChild() != before;
}

/// 0 when there are none or several.
pid_t AncestorProcess::onlyChild() const
{
    return m_children.first.size() == 1 ? m_children.first.front().pid : 0;
}

} // namespace Tarnwick
