// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// The executable of a process whose link to it may not be read, because it belongs to another
/// user.
class ForeignExecutable
{
public:
    ForeignExecutable() = delete;

    /// Its path, from the command name and the arguments, which everybody may read: the first
    /// argument when that is a full path, else the command name where a standard folder for
    /// programs has it, else the first argument's name likewise. Empty when nothing tells.
    [[nodiscard]] static std::string find(std::string_view comm,
                                          std::span<const std::string> arguments);
};

} // namespace Tarnwick
