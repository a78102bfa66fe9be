// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/AncestorProcess.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessChildren.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>

#include <sys/types.h>

namespace Tarnwick {

class ProcessInspector;

/// Finds out what a user typed to start the owners of listening sockets: the command of the topmost
/// ancestor in the owner's process group that is neither a shell nor a wrapper
/// (LaunchingProgram::Kind), with one living child at each step down to the owner and no other
/// owner on the way or below; where there is none, the owner's own. A Host ends the way up. Shells
/// and wrappers are steps like others, and are never chosen. Ancestors of several owners are read
/// once, and in later listings only what may have changed. One thread.
class CommandOrigins
{
public:
    /// @p root is /proc and must outlive it.
    CommandOrigins(int root, ProcFs::Numbering numbering);
    CommandOrigins(const CommandOrigins &) = delete;
    CommandOrigins &operator=(const CommandOrigins &) = delete;

    /// What is kept with each owner between listings, by the caller, for as long as it is the same
    /// process.
    struct State
    {
        bool isNew = true;
        bool isPlaceKnown = false;
        ProcessPlace place;
        bool hasOwnerBelow = false; ///< another owner of its group descends from it
    };

    struct Owner
    {
        ProcessInspector *process = nullptr; ///< refreshed in this listing
        State *state = nullptr;
    };

    /// Gives each of @p owners, all that there are in a listing, its origin. Where a call fails for
    /// a moment it keeps the one that it had, and is asked again in the next listing.
    void update(std::span<Owner> owners, AncestorProcess::Processes processes);

    /// Forgets everything: for a listing that could not be finished.
    void startOver() noexcept;

private:
    struct Ancestor
    {
        AncestorProcess process;
        std::uint64_t lastSearch = 0;
    };

    [[nodiscard]] AncestorProcess::Change refreshAncestors(AncestorProcess::Processes processes);
    [[nodiscard]] bool refreshGroup(const Owner &owner) const;
    [[nodiscard]] bool readPlace(const Owner &owner) const;
    [[nodiscard]] bool findPlace(const Owner &owner) const;
    void forgetPlaces(std::span<Owner> owners);
    void search(std::span<Owner> owners);
    [[nodiscard]] AncestorProcess *ancestor(pid_t pid);
    template<class ReadAgain>
    [[nodiscard]] AncestorProcess *parentOf(const ProcessPlace &place, const ReadAgain &readAgain);
    [[nodiscard]] AncestorProcess *parentOf(const Owner &owner);
    [[nodiscard]] AncestorProcess *parentOf(AncestorProcess &process);
    void noteDescendant(const Owner &owner);
    [[nodiscard]] std::string_view origin(const Owner &owner);

    int m_root;
    ProcFs::Numbering m_numbering;
    ProcessChildren m_childLists;
    std::unordered_map<pid_t, Ancestor> m_ancestors;
    std::unordered_map<pid_t, const Owner *> m_owners; ///< during a search
    std::size_t m_ownerCount = 0;
    std::uint64_t m_search = 0;
    bool m_isStale = false; ///< a call has failed
};

} // namespace Tarnwick
