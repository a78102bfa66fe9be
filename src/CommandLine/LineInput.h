// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>
#include <system_error>

namespace Tarnwick {

/// Where the answers to questions come from: standard input, or what a test has prepared.
class LineInput
{
public:
    LineInput() = default;
    virtual ~LineInput() = default;
    LineInput(const LineInput &) = delete;
    LineInput &operator=(const LineInput &) = delete;

    /// Whether a person can be asked.
    [[nodiscard]] virtual bool isTerminal() const = 0;

    /// Discards what was typed and has not been read, so that the next line is typed after this
    /// call; the reason where that is not possible.
    [[nodiscard]] virtual std::error_code discardPending() = 0;

    /// The next line without its end; nothing at the end of the input, also where that is in the
    /// middle of a line.
    [[nodiscard]] virtual std::optional<std::string> readLine() = 0;
};

} // namespace Tarnwick
