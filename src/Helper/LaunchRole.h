// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace Tarnwick {

/// What a process is to those that it starts.
enum class LaunchRole {
    Command,          ///< anything that a person may have typed
    InteractiveShell, ///< a shell that a person types into
    ScriptShell,      ///< a shell that runs a script or a command
    Wrapper,          ///< runs one command under changed conditions, such as timeout(1)
    Host,             ///< an editor, a terminal, a desktop: what it starts is not part of it
};

/// The role of @p pid, by its names and arguments, which it may choose itself. Any thread.
[[nodiscard]] LaunchRole launchRoleOf(std::int32_t pid);

} // namespace Tarnwick
