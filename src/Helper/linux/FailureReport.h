// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/WriteAll.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include <unistd.h>

namespace Tarnwick {

/// Writes "tarnwick-helper: " and @p why as a line to standard error, with no more than some 1,000
/// bytes, and none that standard error does not take at once. Takes no memory. Any thread.
inline void reportFailure(const char *why) noexcept
{
    std::array<char, 1024> line{};
    const int length = std::snprintf(line.data(), line.size() - 1, "tarnwick-helper: %s", why);
    const std::size_t size =
        std::min(static_cast<std::size_t>(std::max(length, 0)), line.size() - 2);
    line.at(size) = '\n';
    static_cast<void>(writeAvailable(STDERR_FILENO, {line.data(), size + 1}));
}

} // namespace Tarnwick
