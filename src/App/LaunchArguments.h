// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Tarnwick {

/// What the command line asks of the application.
struct LaunchArguments
{
    enum class Request : std::uint8_t { Run, Help, Version, Refuse };

    Request request = Request::Run;
    bool isLoginItem = false; ///< started by the desktop as the session began, or began again
    std::string refused{};    ///< the argument that nobody knows

    /// @p arguments do not have the program's name. Help and version go before what is wrong.
    [[nodiscard]] static LaunchArguments parse(std::span<const char *const> arguments);

    /// The text that `--help` prints.
    [[nodiscard]] static const char *help();
};

} // namespace Tarnwick
