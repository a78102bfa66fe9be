// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Tarnwick {

/// While it lives, Qt opens the display; one that cannot be had ends the program with status 1 and
/// one line that names what was tried, where Qt would write several and abort. What Qt has to say
/// otherwise is written when the display is there. Once in the main thread.
class DisplayOpening
{
public:
    DisplayOpening();
    ~DisplayOpening();
    DisplayOpening(const DisplayOpening &) = delete;
    DisplayOpening &operator=(const DisplayOpening &) = delete;

    /// Whether the environment names any display.
    [[nodiscard]] static bool isWorthTrying();

    /// The line that says that there is none.
    [[nodiscard]] static std::string refusal();
};

} // namespace Tarnwick
