// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// What the program ends with, in order of gravity: of several outcomes the greatest one counts.
enum class ExitCode {
    Done = 0,
    NothingDone = 1,  ///< nothing listens there, nothing matches, or the user said no
    Usage = 2,        ///< the arguments were wrong or not enough to act on
    NotPermitted = 3, ///< the system, or the guard on system services, did not allow it
    Failed = 4,       ///< the listing or the output failed
};

} // namespace Tarnwick
