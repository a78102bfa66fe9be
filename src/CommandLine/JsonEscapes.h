// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Tarnwick {

/// JSON that does nothing to a terminal on which it is read.
class JsonEscapes
{
public:
    JsonEscapes() = delete;

    /// Appends @p json, well-formed and UTF-8, with an escape in place of each character within its
    /// strings that does not print (TerminalText).
    static void append(std::string &escaped, std::string_view json);
};

} // namespace Tarnwick
