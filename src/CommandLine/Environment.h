// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Tarnwick {

/// What the program reads from the process it runs in. An unset variable is an empty text.
struct Environment
{
    std::string home{};      ///< HOME, written "~" in commands
    std::string noColor{};   ///< NO_COLOR (no-color.org): anything but empty turns colours off
    std::string colorTerm{}; ///< COLORTERM: "truecolor" or "24bit" tells of 24-bit colours
    std::string term{};      ///< TERM: "dumb" is a terminal without colours and without a cursor
    bool isRoot = false;     ///< whether the effective user is root

    [[nodiscard]] static Environment ofThisProcess();
};

} // namespace Tarnwick
