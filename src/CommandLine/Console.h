// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Environment.h"
#include "CommandLine/ExitCode.h"
#include "CommandLine/LineInput.h"
#include "CommandLine/TextOutput.h"
#include "Models/Timestamp.h"

#include <functional>
#include <string_view>
#include <system_error>

namespace Tarnwick {

/// Everything that a command meets its user through, so that a test can be the user. The outputs
/// and the input belong to whoever made the console and outlive it.
struct Console
{
    TextOutput &output; ///< results, for programs and people
    TextOutput &errors; ///< messages and questions, for people
    LineInput &input;
    Environment environment;
    std::function<Timestamp()> now;

    /// Writes @p line and a line feed to `errors`. That output's own failure has no one to be told
    /// to.
    void say(std::string_view line) const;

    /// The same for an error: the program's name comes first.
    void sayError(std::string_view message) const;

    /// Writes @p text to `output` and concludes as below.
    [[nodiscard]] ExitCode finish(std::string_view text, ExitCode code) const;

    /// What to end with after the output was written with the result @p error: @p code, or
    /// `Failed`, with a message. A reader that has gone away wants no more and is no failure.
    [[nodiscard]] ExitCode concluded(const std::error_code &error, ExitCode code) const;
};

} // namespace Tarnwick
