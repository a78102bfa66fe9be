// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Tarnwick {

/// Writes into a pipe whose reader may be anybody, and may read nothing: then a write ends with a
/// failure instead of never.
class PipeWriter
{
public:
    /// When the reader reads for the first time.
    enum class Start : std::uint8_t {
        InTime,  ///< within the timeout
        AnyTime, ///< as a program does that a password is asked for first
    };

    /// Writes to @p descriptor, which outlives this. A pipe may stay full for @p timeout.
    PipeWriter(int descriptor, std::chrono::milliseconds timeout, Start start = Start::InTime);

    /// Writes all of @p bytes. False, with the reason in errno, where some were not written:
    /// ETIMEDOUT where the timeout has passed.
    [[nodiscard]] bool write(std::string_view bytes);

    /// Whether the reader of the pipe has read some of what was written.
    [[nodiscard]] bool isReadFrom() const;

private:
    [[nodiscard]] bool awaitRoom();

    int m_descriptor;
    int m_timeout; ///< as poll(2) takes it
    bool m_isLimited;
    std::size_t m_written = 0;
};

} // namespace Tarnwick
