// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// A process above another one in the tree of processes.
struct Ancestor
{
    std::int32_t pid = 0;
    std::string name{};   ///< as the kernel has it, at most 15 bytes; valid UTF-8
    bool isShell = false; ///< by its name
    /// Whether it is in the process group of the process below it, as a shell that runs a script
    /// is, and one that a person types into is not: job control gives each command a group.
    bool sharesGroup = false;
};

/// Finds the ancestors of processes, and reads each process once: for many at about one moment. One
/// thread.
class AncestryReader
{
public:
    AncestryReader();
    ~AncestryReader();
    AncestryReader(const AncestryReader &) = delete;
    AncestryReader &operator=(const AncestryReader &) = delete;

    /// The ancestors of @p pid, its parent first and at most 1,024 of them. They end where one is
    /// outside of the namespace of process identifiers or has ended meanwhile; empty when there is
    /// no such process.
    [[nodiscard]] std::vector<Ancestor> ancestors(std::int32_t pid);

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};

/// The same for one process at this moment. Any thread.
[[nodiscard]] std::vector<Ancestor> ancestors(std::int32_t pid);

} // namespace Tarnwick
