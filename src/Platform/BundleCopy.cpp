// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/BundleCopy.h"

#include "Shared/ShellQuoting.h"

namespace Tarnwick {

std::string BundleCopy::target() const
{
    return applications + source.substr(source.rfind('/') + 1);
}

std::string BundleCopy::shellCommand() const
{
    return "rm -rf " + ShellQuoting::quote(target()) + " && cp -R " + ShellQuoting::quote(source) +
           " " + applications;
}

} // namespace Tarnwick
