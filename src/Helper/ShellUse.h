// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string>

namespace Tarnwick {

/// What a shell was started for, by its arguments.
enum class ShellUse {
    Interactive, ///< a person types into it, or it reads commands from its standard input
    Command,     ///< -c
    Script,      ///< a file
};

/// The use of a shell of the POSIX kind, or of fish, that was started with @p arguments, the first
/// of which is its name. Where they leave it open, it is interactive. Any thread.
[[nodiscard]] ShellUse shellUseOf(std::span<const std::string> arguments);

} // namespace Tarnwick
