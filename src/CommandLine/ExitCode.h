// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// What the program ends with. Of several outcomes the one with the highest number counts.
enum class ExitCode {
    Done = 0,
    NothingDone = 1,  ///< nothing listens there, nothing matches, or the user said no
    Usage = 2,        ///< the arguments were wrong or not enough to act on
    NotPermitted = 3, ///< the system, or the guard on system services, did not allow it
    Failed = 4,       ///< the listing, the output or a kill failed
    PortTaken = 5,    ///< the process has ended, and another one listens on its port
    NotEnded = 6,     ///< the process was sent SIGKILL and lives on
    HostFailed = 7,   ///< on a host that was named tarnwickctl could not be run
};

/// The last of those that are about one machine.
inline constexpr ExitCode lastOwnCode = ExitCode::NotEnded;

} // namespace Tarnwick
