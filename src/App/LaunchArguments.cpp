// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/LaunchArguments.h"

#include <cstddef>
#include <string_view>

namespace Tarnwick {

namespace {

/// By this, and an identifier, X session managers start again what ran when the user left. Qt tells
/// them so, and reads the identifier.
constexpr std::string_view sessionOption = "-session";

} // namespace

LaunchArguments LaunchArguments::parse(std::span<const char *const> arguments)
{
    LaunchArguments result;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--help" || argument == "-h") {
            return {.request = Request::Help};
        }
        if (argument == "--version") {
            return {.request = Request::Version};
        }
        if (argument == "--login-item") {
            result.isLoginItem = true;
        } else if (argument == sessionOption && index + 1 < arguments.size()) {
            result.isLoginItem = true;
            ++index;
        } else if (result.request != Request::Refuse) {
            result.request = Request::Refuse;
            result.refused = argument;
        }
    }
    return result;
}

const char *LaunchArguments::help()
{
    return R"(Usage: tarnwick [OPTION]

Shows what listens on which TCP port, from an icon in the desktop's tray.
When Tarnwick runs already, its panel is opened.

  --login-item   start quietly: with the icon only, as at the start of a session
  -h, --help     print this help
  --version      print the version

In the terminal, without a desktop: tarnwickctl.
)";
}

} // namespace Tarnwick
