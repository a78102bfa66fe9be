// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The name that a user would recognise a process by.
class ProcessName
{
public:
    ProcessName() = delete;

    /// From what the system tells of the process: @p comm, its command name (cut by the kernel at
    /// 15 bytes), @p executable, the path of its executable (empty when unknown), and its @p
    /// arguments.
    ///
    /// The name is the command name, completed when it was cut. A command name that neither the
    /// executable nor the beginning of the command line accounts for was given by a runtime to its
    /// main thread, and the executable's name takes its place, or the shorter name that it was
    /// called by (`python3` for `python3.11`). A program that holds many commands in one file goes
    /// by the command's name. Never empty.
    [[nodiscard]] static std::string from(std::string_view comm, std::string_view executable,
                                          std::span<const std::string> arguments);

    /// What follows the last slash.
    [[nodiscard]] static std::string_view baseName(std::string_view path);

    /// What stands before the first blank: the command of a title that a program has written over
    /// its arguments.
    [[nodiscard]] static std::string_view firstWord(std::string_view text);

    /// Whether @p comm is what the kernel makes of the file name @p name.
    [[nodiscard]] static bool isCommandNameOf(std::string_view comm, std::string_view name);
};

} // namespace Tarnwick
