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

} // namespace

Environment Environment::ofThisProcess()
{
    return {.home = variable("HOME"),
            .noColor = variable("NO_COLOR"),
            .colorTerm = variable("COLORTERM"),
            .term = variable("TERM"),
            .isRoot = geteuid() == 0};
}

} // namespace Tarnwick
