// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessIdentity.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// A process and its place in the tree of processes (credentials(7)).
struct TreeProcess
{
    ProcessIdentity identity{};
    std::int32_t parent = 0; ///< 0 for none that can be seen
    std::int32_t group = 0;  ///< process group
    std::int32_t session = 0;
    bool hasTerminal = false; ///< whether the session has a controlling terminal
    bool hasEnded = false;    ///< it is a zombie
    std::uint32_t userId = 0; ///< effective user; root for a process that lets nobody look into it
    std::string name{};       ///< as the kernel has it, at most 15 bytes; valid UTF-8

    [[nodiscard]] std::int32_t pid() const { return identity.pid; }
};

/// The processes of this machine at one moment, as far as /proc shows them. A value.
class ProcessTree
{
public:
    ProcessTree() = default;
    explicit ProcessTree(std::vector<TreeProcess> processes);

    /// The tree as it is now; empty where processes have other identifiers in /proc than in system
    /// calls. Takes about 20 microseconds for each process. Any thread.
    [[nodiscard]] static ProcessTree read();

    /// All of them, by ascending identifier.
    [[nodiscard]] std::span<const TreeProcess> all() const { return m_processes; }

    /// Null where there is no such process. Valid as long as the tree, and so are the others.
    [[nodiscard]] const TreeProcess *find(std::int32_t pid) const;

    /// The children of @p pid that have not ended.
    [[nodiscard]] std::vector<const TreeProcess *> children(std::int32_t pid) const;

    /// Whether @p pid descends from @p ancestor, or is it.
    [[nodiscard]] bool isBelow(std::int32_t pid, std::int32_t ancestor) const;

private:
    std::vector<TreeProcess> m_processes;
};

/// The arguments of @p pid as they are now, valid UTF-8; empty where they cannot be read. Any
/// thread.
[[nodiscard]] std::vector<std::string> argumentsOf(std::int32_t pid);

/// Whether the two processes write to the same file, pipe or terminal, through standard output or
/// standard error; /dev/null does not count. False where that cannot be read. Any thread.
[[nodiscard]] bool shareOutput(std::int32_t first, std::int32_t second);

} // namespace Tarnwick
