// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string_view>

#include <sys/types.h>

namespace Tarnwick {

/// Whether a process runs a program as a package installs it. A path proves nothing, for in a
/// namespace of mounts anything can be at any path, and so does no name: the file itself is
/// compared.
class InstalledExecutable
{
public:
    InstalledExecutable() = delete;

    enum class Match {
        Known,     ///< it is one of the files
        Other,     ///< it is another file, or there is no such process
        Unreadable ///< the system does not allow to tell
    };

    /// Compares the executable of @p pid with the files at the @p known paths. One that an upgrade
    /// has replaced meanwhile belongs to root and to no folder any more, which no user can bring
    /// about. @p root is /proc.
    [[nodiscard]] static Match match(int root, pid_t pid, std::span<const std::string_view> known);
};

} // namespace Tarnwick
