// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/AncestorProcess.h"

#include "Helper/linux/ProcessDescriptor.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

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

AncestorProcess::Change AncestorProcess::refresh(Processes processes)
{
    // In this order: each call of hasAdvanced() is for one reading.
    const bool hasRun = m_clock.hasAdvanced();
    const bool mayHaveChanged = hasRun || m_isStale;
    Change change = mayHaveChanged ? readPlace() : Change::None;
    if (mayHaveChanged && m_command && readCommandAgain()) {
        change = std::max(change, Change::Some);
    }
    if (m_areChildrenRead && mayHaveOtherChildren(processes, mayHaveChanged) &&
        readChildrenAgain()) {
        change = std::max(change, Change::Some);
    }
    return change;
}

/// Its parent can only change by the end of that one, which is noticed there. A shell or a service
/// manager that runs now and then costs no file.
AncestorProcess::Change AncestorProcess::readPlace()
{
    if (m_numbering == ProcFs::Numbering::Own && m_exists && !m_command && !m_isStale) {
        const ProcessDescriptor process = ProcessDescriptor::open(m_pid);
        if (process && !process.hasEnded() && ::getpgid(m_pid) == m_place.group) {
            return Change::None;
        }
    }
    m_isStale = false;
    return readStat();
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
    const std::string link = std::to_string(m_pid) + "/exe";
    if (const FileDescriptor file = ProcFs::openOfProcess(m_root, m_pid, "/cmdline")) {
        ProcFs::readWhole(file.get(), command.line, maxCommandLineBytes);
    }
    ProcFs::readLink(m_root, link.c_str(), executable);
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
        m_children = m_childLists.read(m_pid, child);
        m_areChildrenRead = true;
        m_mayHaveForked = false;
        m_areChildrenStale = SystemFailures::count() != failures;
    }
    return onlyChild() == child;
}

/// A child comes by a fork of its parent, which has run for it, or is an orphan that the parent
/// adopts in its main thread. One goes by its own end, which it has run for; where it stays a
/// zombie, no process is counted as gone.
bool AncestorProcess::mayHaveOtherChildren(Processes processes, bool mayHaveChanged)
{
    if (m_areChildrenStale) {
        return true;
    }
    if (m_children.first.size() > 1) {
        return std::any_of(m_children.first.begin(), m_children.first.end(), [this](auto &child) {
            return child.clock.hasAdvanced() && !m_childLists.isChild(child.pid, m_pid);
        });
    }
    m_mayHaveForked = m_mayHaveForked || processes == Processes::Changed;
    return (m_mayHaveForked && mayHaveChanged) ||
           (processes == Processes::Changed &&
            m_childLists.listOfMainThread(m_pid) != m_children.mainThreadList);
}

bool AncestorProcess::readChildrenAgain()
{
    const std::uint64_t failures = SystemFailures::count();
    ProcessChildren::Children now = m_childLists.read(m_pid);
    m_areChildrenStale = SystemFailures::count() != failures;
    if (m_areChildrenStale) {
        return false;
    }
    m_mayHaveForked = false;
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
