// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace Tarnwick {

/// How many blocks of memory the whole process, every thread and library of it, has asked for since
/// its start. A program that links this counts them in its own malloc(3), in front of that of
/// glibc.
[[nodiscard]] std::uint64_t allocationCount();

} // namespace Tarnwick
