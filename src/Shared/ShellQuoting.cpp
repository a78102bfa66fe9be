// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/ShellQuoting.h"

namespace Tarnwick::ShellQuoting {

std::string quote(std::string_view text)
{
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'') {
            quoted += R"('\'')";
        } else {
            quoted += character;
        }
    }
    return quoted + '\'';
}

} // namespace Tarnwick::ShellQuoting
