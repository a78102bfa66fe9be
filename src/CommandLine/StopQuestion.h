// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"

#include <string_view>

namespace Tarnwick {

/// The question that comes before a process is stopped.
class StopQuestion
{
public:
    /// @p console outlives the question.
    explicit StopQuestion(const Console &console)
        : m_console(console)
    {
    }

    /// Whether the user can read a question and answer it; the reason is printed where not.
    [[nodiscard]] bool canAsk() const;

    /// Whether the user answers @p question with "y" or "yes". What was typed before is discarded.
    [[nodiscard]] bool isConfirmed(std::string_view question) const;

private:
    const Console &m_console;
};

} // namespace Tarnwick
