// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace Tarnwick {

/// The file `app.log` in Paths::applicationSupport(). It is opened for each line and closed again,
/// so that it may be moved or deleted at any time. What is no regular file, such as a FIFO, is left
/// alone. One thread at a time.
class LogFile
{
public:
    LogFile() = delete;

    /// A file larger than this is deleted before the next line is written.
    static constexpr long long maximumSize = 262'144;

    /// Appends @p line. What fails is not told: the line is lost then, and no part of it stays.
    static void append(std::string_view line);
};

} // namespace Tarnwick
