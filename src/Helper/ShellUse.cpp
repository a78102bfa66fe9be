// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ShellUse.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace Tarnwick {

namespace {

/// The options of bash(1), zsh(1), dash(1), ksh(1) and fish(1) whose value is an argument of its
/// own.
constexpr std::array<std::string_view, 13> optionsWithValue{"--rcfile",
                                                            "--init-file",
                                                            "-O",
                                                            "+O",
                                                            "-o",
                                                            "+o",
                                                            "-C",
                                                            "--init-command",
                                                            "-d",
                                                            "--debug",
                                                            "-f",
                                                            "--features",
                                                            "--profile-startup"};

/// Letters of short options, which may stand together: "-lc".
bool hasLetter(std::string_view argument, char letter)
{
    const bool isShort = argument.size() > 1 && argument[0] == '-' && argument[1] != '-';
    return isShort && argument.substr(1).find(letter) != std::string_view::npos;
}

} // namespace

ShellUse shellUseOf(std::span<const std::string> arguments)
{
    // login(1) and terminals put a dash before the name of a shell that a person types into.
    if (arguments.empty() || arguments.front().starts_with('-')) {
        return ShellUse::Interactive;
    }
    for (std::size_t index = 1; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--" || argument == "-") {
            return index + 1 < arguments.size() ? ShellUse::Script : ShellUse::Interactive;
        }
        // "-euo pipefail".
        const bool endsWithOption = hasLetter(argument, 'o') && argument.ends_with('o');
        const bool takesValue =
            endsWithOption || std::find(optionsWithValue.begin(), optionsWithValue.end(),
                                        argument) != optionsWithValue.end();
        if (takesValue) {
            ++index;
        } else if (argument == "--command" || argument.starts_with("--command=") ||
                   hasLetter(argument, 'c')) {
            return ShellUse::Command;
        } else if (argument == "--interactive" || hasLetter(argument, 'i') ||
                   hasLetter(argument, 's')) {
            return ShellUse::Interactive;
        } else if (!argument.starts_with('-') && !argument.starts_with('+')) {
            return ShellUse::Script;
        }
    }
    return ShellUse::Interactive;
}

} // namespace Tarnwick
