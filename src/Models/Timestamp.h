// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace Tarnwick {

/// A point of wall-clock time in UTC, to the millisecond. Sixty-four bits of milliseconds hold
/// every date that four digits of a year can name, which nanoseconds would not.
using Timestamp = std::chrono::sys_time<std::chrono::milliseconds>;

} // namespace Tarnwick
