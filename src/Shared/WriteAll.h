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

} // namespace Tarnwick
