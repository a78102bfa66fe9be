// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Supervisor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// A process that starts others, as /proc shows it.
struct ParentProcess
{
    std::int32_t pid = 0;
    std::string comm;
    std::vector<std::string> arguments;
    std::string directory; ///< working directory; empty where it may not be read
};

/// The programs that start a process again: process managers, the development tools that start a
/// program anew when a file changes, and shells that run a script.
class ProcessManagers
{
public:
    ProcessManagers() = delete;

    /// What @p parent is to a process below it whose environment is @p environment ("NAME=value"
    /// each, or empty where it may not be read). Nothing for other programs.
    [[nodiscard]] static std::optional<Supervisor>
    recognise(const ParentProcess &parent, std::span<const std::string> environment);
};

} // namespace Tarnwick
