// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace Tarnwick {

/// Lines and blocks of bytes from a pipe, whose writer may be anybody: a line has a greatest
/// length, and a writer that stays silent a greatest time.
class PipeReader
{
public:
    static constexpr std::size_t maxLine = 16UL * 1024;

    /// Reads from @p descriptor, which outlives this. Without @p timeout it waits for ever.
    explicit PipeReader(int descriptor,
                        std::optional<std::chrono::milliseconds> timeout = std::nullopt);

    /// The next line without its line feed; nothing at the end, after an error, after the timeout
    /// and for a line that is too long.
    [[nodiscard]] std::optional<std::string> line();

    /// The next bytes, at least one and at most @p most; empty where line() has nothing.
    [[nodiscard]] std::string bytes(std::size_t most);

    /// Why the last call gave nothing, in words that follow "the other process"; the error of
    /// read(2) included. Empty as long as each gave something.
    [[nodiscard]] const std::string &problem() const { return m_problem; }
    /// Whether that was the timeout.
    [[nodiscard]] bool hasTimedOut() const { return m_hasTimedOut; }

private:
    [[nodiscard]] bool fill();

    int m_descriptor;
    int m_timeout;        ///< as poll(2) takes it
    std::string m_buffer; ///< what was read and not taken yet, from m_taken on
    std::size_t m_taken = 0;
    std::string m_problem;
    bool m_hasTimedOut = false;
};

} // namespace Tarnwick
