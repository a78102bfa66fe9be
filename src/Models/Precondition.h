// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

namespace Tarnwick {

/// Stops the program because a rule of the code itself was broken, in a release build too: writes
/// "fatal: " and @p rule to standard error and aborts. For programming errors only; bad input is
/// answered with an error value instead.
[[noreturn]] void preconditionFailure(std::string_view rule) noexcept;

} // namespace Tarnwick
