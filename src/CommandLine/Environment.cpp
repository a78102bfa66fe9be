// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Environment.h"

#include <cstdlib>

#include <unistd.h>

namespace Tarnwick {

namespace {

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string homeFolder()
{
    std::string home = variable("HOME");
    while (home.size() > 1 && home.ends_with('/')) {
        home.pop_back();
    }
    return home;
}

} // namespace

Environment Environment::ofThisProcess()
{
    return {.home = homeFolder(),
            .noColor = variable("NO_COLOR"),
            .colorTerm = variable("COLORTERM"),
            .term = variable("TERM"),
            .isRoot = geteuid() == 0,
            .userId = geteuid()};
}

} // namespace Tarnwick
