// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace Tarnwick {

/// What the program reads from the process it runs in. An unset variable is an empty text.
struct Environment
{
    std::string home{};       ///< HOME without slashes at its end, written "~" in commands
    std::string noColor{};    ///< NO_COLOR (no-color.org): anything but empty turns colours off
    std::string colorTerm{};  ///< COLORTERM: "truecolor" or "24bit" tells of 24-bit colours
    std::string term{};       ///< TERM, see hasPlainTerminal()
    bool isRoot = false;      ///< whether the effective user is root
    std::uint32_t userId = 0; ///< the effective user

    /// Whether a terminal is taken for one that knows no control sequences: neither colours nor a
    /// cursor that moves. So is one whose type is not known.
    [[nodiscard]] bool hasPlainTerminal() const { return term.empty() || term == "dumb"; }

    [[nodiscard]] static Environment ofThisProcess();
};

} // namespace Tarnwick
