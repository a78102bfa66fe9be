// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace Tarnwick {

/// A point of wall-clock time in UTC, to the millisecond. Sixty-four bits of milliseconds hold
/// every date that four digits of a year can name, which nanoseconds would not.
using Timestamp = std::chrono::sys_time<std::chrono::milliseconds>;

/// By how much the same process may be reported to have started at another time: the moment of boot
/// is measured, and the system's clock is adjusted.
inline constexpr std::chrono::seconds startTolerance{1};

} // namespace Tarnwick
