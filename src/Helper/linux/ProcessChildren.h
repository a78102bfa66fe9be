// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessorClock.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// Which children a process has that live, zombies not counted: from the lists of its threads in
/// PID/task/TID/children (proc(5)), or where the kernel has none of those (it was built without
/// CONFIG_PROC_CHILDREN) or the threads are too many, from the parents of all processes. A call
/// that fails for a moment is noted in SystemFailures; the result may then lack something.
class ProcessChildren
{
public:
    struct Child
    {
        pid_t pid = 0;
        /// Advances when it runs, which it does for its end; always has where that cannot be read.
        ProcessorClock clock;
    };

    enum class Source {
        ThreadLists, ///< where there are such lists, and else
        Parents
    };

    /// @p root is /proc and must outlive it.
    ProcessChildren(int root, ProcFs::Numbering numbering, Source source = Source::ThreadLists)
        : m_root(root)
        , m_numbering(numbering)
        , m_source(source)
    {
    }

    /// Forgets the parents of all processes, which are read once in a listing.
    void beginListing() { m_byParent.clear(); }

    struct Children
    {
        std::vector<Child> first;   ///< two at most
        std::string mainThreadList; ///< as listOfMainThread() gave it before they were read
    };

    /// @p living, if it is among the children, is known to live.
    [[nodiscard]] Children read(pid_t pid, pid_t living = 0);

    /// The list of the main thread, as the kernel writes it, zombies included. Who adopts an orphan
    /// gets it there; empty where there are no such lists.
    [[nodiscard]] std::string listOfMainThread(pid_t pid) const;

    /// Whether @p child is a process that lives and whose parent is @p parent.
    [[nodiscard]] bool isChild(pid_t child, pid_t parent) const;

private:
    [[nodiscard]] bool lives(pid_t pid) const;
    void takeIfLiving(pid_t pid, pid_t living, std::vector<Child> &children) const;
    [[nodiscard]] std::optional<std::string> listOfThread(pid_t pid, pid_t thread) const;
    void takeLiving(std::string_view list, pid_t living, std::vector<Child> &children) const;
    [[nodiscard]] bool readLists(pid_t pid, pid_t living, Children &children) const;
    [[nodiscard]] std::vector<Child> withParent(pid_t pid, pid_t living);

    int m_root;
    ProcFs::Numbering m_numbering;
    Source m_source;
    std::unordered_map<pid_t, std::vector<pid_t>> m_byParent;
};

} // namespace Tarnwick
