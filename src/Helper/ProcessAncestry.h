// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

namespace Tarnwick {

/// A process above another one in the tree of processes.
struct Ancestor
{
    std::int32_t pid = 0;
    bool isShell = false; ///< by its name
    /// Whether it is in the process group of the process below it, as a shell that runs a script
    /// is, and one that a person types into is not: job control gives each command a group.
    bool sharesGroup = false;
};

/// The ancestors of @p pid at this moment, its parent first and at most 1,024 of them. They end
/// where one is outside of the namespace of process identifiers or has ended meanwhile; empty when
/// there is no such process. Any thread.
[[nodiscard]] std::vector<Ancestor> ancestors(std::int32_t pid);

} // namespace Tarnwick
