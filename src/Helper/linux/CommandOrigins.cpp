// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/CommandOrigins.h"

#include "Helper/linux/ProcessInspector.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include <unistd.h>

namespace Tarnwick {

namespace {

using Change = AncestorProcess::Change;

/// Bounds a way up while processes end and others get their identifiers.
constexpr int maxAncestors = 1024;

} // namespace

CommandOrigins::CommandOrigins(int root, ProcFs::Numbering numbering)
    : m_root(root)
    , m_numbering(numbering)
    , m_childLists(root, numbering)
{
}

void CommandOrigins::update(std::span<Owner> owners, AncestorProcess::Processes processes)
{
    const std::uint64_t failures = SystemFailures::count();
    m_childLists.beginListing();
    bool areOwnersOthers = std::exchange(m_ownerCount, owners.size()) != owners.size();
    bool mayHaveChanged = std::exchange(m_isStale, false);
    const Change ofAncestors = refreshAncestors(processes);
    for (const Owner &owner : owners) {
        areOwnersOthers = areOwnersOthers || owner.state->isNew;
        mayHaveChanged = refreshGroup(owner) || mayHaveChanged;
    }
    if (ofAncestors == Change::Ended) {
        forgetPlaces(owners);
    }
    if (ofAncestors == Change::Ended || areOwnersOthers) {
        for (auto &[pid, ancestor] : m_ancestors) {
            ancestor.process.forgetChildren();
        }
        mayHaveChanged = true;
    }
    if (mayHaveChanged || ofAncestors != Change::None) {
        search(owners);
    }
    m_isStale = SystemFailures::count() != failures;
}

AncestorProcess::Change CommandOrigins::refreshAncestors(AncestorProcess::Processes processes)
{
    Change change = Change::None;
    for (auto &[pid, ancestor] : m_ancestors) {
        change = std::max(change, ancestor.process.refresh(processes));
    }
    return change;
}

/// Whether the process group is another one than before.
bool CommandOrigins::refreshGroup(const Owner &owner) const
{
    State &state = *owner.state;
    if (!state.isPlaceKnown) {
        return false;
    }
    const ProcessPlace before = state.place;
    if (m_numbering == ProcFs::Numbering::Foreign) {
        return readPlace(owner) && state.place != before;
    }
    const pid_t group = ::getpgid(owner.process->identity().pid);
    SystemFailures::note("getpgid", group < 0 ? errno : 0);
    state.place.group = group < 0 ? before.group : group;
    return state.place != before;
}

/// False when it cannot be read; then it is what it was.
bool CommandOrigins::readPlace(const Owner &owner) const
{
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(m_root, owner.process->identity().pid);
    if (stat) {
        owner.state->place = {.parent = stat->parent, .group = stat->processGroup};
        owner.state->isPlaceKnown = true;
    }
    return stat.has_value();
}

bool CommandOrigins::findPlace(const Owner &owner) const
{
    if (!owner.state->isNew) {
        return readPlace(owner);
    }
    owner.state->place = owner.process->placeWhenOpened();
    owner.state->isPlaceKnown = true;
    return true;
}

/// The children of a process that has ended have another parent.
void CommandOrigins::forgetPlaces(std::span<Owner> owners)
{
    for (const Owner &owner : owners) {
        owner.state->isPlaceKnown = false;
    }
    for (auto &[pid, ancestor] : m_ancestors) {
        static_cast<void>(ancestor.process.readPlaceAgain());
    }
}

void CommandOrigins::search(std::span<Owner> owners)
{
    const std::uint64_t failures = SystemFailures::count();
    ++m_search;
    for (const Owner &owner : owners) {
        m_owners.emplace(owner.process->identity().pid, &owner);
        owner.state->hasOwnerBelow = false;
    }
    for (const Owner &owner : owners) {
        noteDescendant(owner);
    }
    std::vector<std::string_view> commandLines;
    commandLines.reserve(owners.size());
    for (const Owner &owner : owners) {
        commandLines.push_back(origin(owner));
    }
    if (SystemFailures::count() == failures) {
        for (std::size_t at = 0; at < owners.size(); ++at) {
            // Of a process that is ending, what it was is reported.
            if (!owners[at].process->isEnding()) {
                owners[at].process->setOrigin(commandLines[at]);
            }
            owners[at].state->isNew = false;
        }
    }
    m_owners.clear();
    std::erase_if(m_ancestors,
                  [this](const auto &entry) { return entry.second.lastSearch != m_search; });
}

void CommandOrigins::startOver() noexcept
{
    m_ancestors.clear();
    m_owners.clear();
    m_ownerCount = 0;
}

AncestorProcess *CommandOrigins::ancestor(pid_t pid)
{
    if (pid <= 0) {
        return nullptr;
    }
    auto found = m_ancestors.find(pid);
    if (found == m_ancestors.end()) {
        Ancestor read{.process = AncestorProcess(m_root, pid, m_numbering, m_childLists)};
        found = m_ancestors.emplace(pid, std::move(read)).first;
    }
    found->second.lastSearch = m_search;
    return &found->second.process;
}

/// The parent in @p place; where that has ended, the one that @p readAgain then gives. Null where
/// there is none that can be seen.
template<class ReadAgain>
AncestorProcess *CommandOrigins::parentOf(const ProcessPlace &place, const ReadAgain &readAgain)
{
    AncestorProcess *parent = ancestor(place.parent);
    if (parent != nullptr && !parent->exists()) {
        const pid_t now = readAgain();
        parent = now == parent->pid() ? nullptr : ancestor(now);
    }
    return parent != nullptr && parent->exists() ? parent : nullptr;
}

AncestorProcess *CommandOrigins::parentOf(const Owner &owner)
{
    const ProcessPlace &place = owner.state->place;
    if (!owner.state->isPlaceKnown && !findPlace(owner)) {
        return nullptr;
    }
    return parentOf(place, [&] { return readPlace(owner) ? place.parent : 0; });
}

AncestorProcess *CommandOrigins::parentOf(AncestorProcess &process)
{
    return parentOf(process.place(), [&process] { return process.readPlaceAgain().parent; });
}

/// Notes with the next owner above @p owner in its group that it is there.
void CommandOrigins::noteDescendant(const Owner &owner)
{
    AncestorProcess *above = parentOf(owner);
    const pid_t group = owner.state->place.group;
    for (int steps = 0; steps < maxAncestors && above != nullptr && above->place().group == group;
         ++steps) {
        if (const auto found = m_owners.find(above->pid()); found != m_owners.end()) {
            found->second->state->hasOwnerBelow = true;
            return;
        }
        above = parentOf(*above);
    }
}

/// A command line as PID/cmdline has it; empty for the owner's own.
std::string_view CommandOrigins::origin(const Owner &owner)
{
    std::string_view found;
    const pid_t group = owner.state->place.group;
    if (owner.state->hasOwnerBelow || group <= 0) {
        return found;
    }
    pid_t below = owner.process->identity().pid;
    AncestorProcess *above = parentOf(owner);
    for (int steps = 0; steps < maxAncestors && above != nullptr; ++steps) {
        if (above->place().group != group || m_owners.contains(above->pid()) ||
            !above->hasOnlyChild(below)) {
            break;
        }
        const LaunchingProgram::Kind kind = above->kind();
        if (kind == LaunchingProgram::Kind::Host) {
            break;
        }
        if (kind == LaunchingProgram::Kind::None && !above->commandLine().empty()) {
            found = above->commandLine();
        }
        below = above->pid();
        above = parentOf(*above);
    }
    return found;
}

} // namespace Tarnwick
