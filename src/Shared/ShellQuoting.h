// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Tarnwick::ShellQuoting {

/// @p text as one word for a POSIX shell, whatever is in it, in single quotes.
[[nodiscard]] std::string quote(std::string_view text);

} // namespace Tarnwick::ShellQuoting
