// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Console.h"

#include <string>

namespace Tarnwick {

void Console::say(std::string_view line) const
{
    static_cast<void>(errors.write(std::string(line) + '\n'));
}

void Console::sayError(std::string_view message) const
{
    say("tarnwickctl: " + std::string(message));
}

ExitCode Console::finish(std::string_view text, ExitCode code) const
{
    return concluded(output.write(text), code);
}

ExitCode Console::concluded(const std::error_code &error, ExitCode code) const
{
    if (!error || error == std::errc::broken_pipe) {
        return code;
    }
    sayError("Cannot write the output: " + error.message());
    return ExitCode::Failed;
}

} // namespace Tarnwick
