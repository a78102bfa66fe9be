// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// The parsers of the commands that take ports and nothing of a listing. Each takes the arguments
/// behind the command's name, the last one first.
class PortArguments
{
public:
    PortArguments() = delete;

    [[nodiscard]] static Arguments parseWhy(std::vector<std::string> reversed);
    [[nodiscard]] static Arguments parseFree(std::vector<std::string> reversed);
    [[nodiscard]] static Arguments parseWait(std::vector<std::string> reversed);
    [[nodiscard]] static Arguments parseUrl(std::vector<std::string> reversed);
};

} // namespace Tarnwick
