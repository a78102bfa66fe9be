// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <string_view>

namespace Tarnwick {

/// The one diagnostic channel: each call writes a line to standard error at once, as far as that
/// takes it without waiting for a reader, and appends the same line to `app.log` in
/// Paths::applicationSupport(), off the calling thread and in the order of the calls. The file
/// starts afresh when it has grown past 262,144 bytes. Callers begin a message with their
/// component's tag, such as "[helper] ".
class AppLog
{
public:
    AppLog() = delete;

    /// Logs @p message as it is: an ISO 8601 timestamp in UTC with milliseconds, one blank, the
    /// message, a line feed. Never fails, whatever the file system does. Any thread.
    static void log(std::string_view message) noexcept;

    /// Waits until every line logged before the call has reached the file or was lost, for @p bound
    /// at most, and returns whether that is so. For an orderly end of the program, which a file
    /// system that hangs must not keep from ending, and for tests.
    static bool flush(std::chrono::milliseconds bound = std::chrono::seconds(1)) noexcept;
};

} // namespace Tarnwick
