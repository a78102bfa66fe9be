// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>

namespace Tarnwick {

/// Writes the whole of @p bytes to @p descriptor: with one call of write(2) where the system takes
/// them at once, with more where it was interrupted or took a part. Returns how many were written:
/// fewer than all when it failed midway.
std::size_t writeAll(int descriptor, std::string_view bytes) noexcept;

/// Writes as much of @p bytes to @p descriptor as it takes at once, where it is a pipe, a socket or
/// a terminal that others may fill or not read; all of them to a file. Returns how many were
/// written.
std::size_t writeAvailable(int descriptor, std::string_view bytes) noexcept;

} // namespace Tarnwick
