// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

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

    /// The next line without its line feed; nothing at the end of the input.
    [[nodiscard]] virtual std::optional<std::string> readLine() = 0;
};

} // namespace Tarnwick
