// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace Tarnwick {

/// Which programs run commands for their user without being the command themselves. Decided by
/// names that a process may choose: fit for what is shown, not for what is permitted. The one list
/// of shells. Any thread.
class LaunchingProgram
{
public:
    LaunchingProgram() = delete;

    enum class Kind {
        None,    ///< any other program: a command that a person may have typed
        Shell,   ///< of whatever use: interactive, running a script, or with -c
        Wrapper, ///< runs one command under changed conditions: timeout(1), sudo(8), time(1)
        /// What it starts are commands of their own: debuggers and tracers, editors and development
        /// environments, desktops, terminals, and services that start others
        Host
    };

    /// The kind of the program that goes by @p name, a file name without folders.
    [[nodiscard]] static Kind ofName(std::string_view name);

    [[nodiscard]] static bool isShell(std::string_view name) { return ofName(name) == Kind::Shell; }

    /// What a process is: @p comm of PID/stat, @p executable the target of PID/exe, empty when that
    /// cannot be read, and @p commandLine as PID/cmdline has it, arguments that end with NUL. Any
    /// of the three may tell: the kernel names a script's interpreter after the script, programs
    /// that are many in one go by their first argument, and a process may rename itself.
    [[nodiscard]] static Kind ofProcess(std::string_view comm, std::string_view executable,
                                        std::string_view commandLine);
};

} // namespace Tarnwick
