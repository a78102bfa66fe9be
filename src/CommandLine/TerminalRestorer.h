// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string_view>

#include <termios.h>

namespace Tarnwick {

/// While it lives, a signal that ends the process (SIGQUIT, those of a crash and a few more, unless
/// they were ignored) first puts the terminal back and then does what it did before. Signals that
/// the program handles otherwise are not among them. There may be one at a time in a program.
class TerminalRestorer
{
public:
    /// How to put a terminal back.
    struct Terminal
    {
        int output = -1;                   ///< takes @p leave
        std::string_view leave;            ///< control sequences; outlive the restorer
        int input = -1;                    ///< gets @p settings
        std::optional<termios> settings{}; ///< nothing when they are not to be changed
    };

    explicit TerminalRestorer(const Terminal &terminal);
    ~TerminalRestorer();
    TerminalRestorer(const TerminalRestorer &) = delete;
    TerminalRestorer &operator=(const TerminalRestorer &) = delete;
};

} // namespace Tarnwick
