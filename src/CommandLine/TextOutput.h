// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>
#include <system_error>

namespace Tarnwick {

/// Whether an output is a terminal, and how many characters it shows.
struct TerminalShape
{
    bool isTerminal = false;
    std::size_t columns = 80;
    std::size_t rows = 24;

    friend bool operator==(const TerminalShape &, const TerminalShape &) = default;
};

/// Where a command writes: standard output, standard error, or what a test reads from.
class TextOutput
{
public:
    TextOutput() = default;
    virtual ~TextOutput() = default;
    TextOutput(const TextOutput &) = delete;
    TextOutput &operator=(const TextOutput &) = delete;

    /// Writes all of @p text at once, or says why not.
    [[nodiscard]] virtual std::error_code write(std::string_view text) = 0;

    /// The shape at this moment; a window may be resized at any time.
    [[nodiscard]] virtual TerminalShape terminal() const = 0;

    /// What poll(2) reports an error of when the reader has gone; -1 where there is none.
    [[nodiscard]] virtual int descriptor() const { return -1; }
};

} // namespace Tarnwick
