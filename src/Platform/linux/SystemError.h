// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string_view>

namespace Tarnwick::SystemError {

/// The errno that a D-Bus error like "System.Error.EACCES" stands for; nothing for other names.
[[nodiscard]] std::optional<int> codeForName(std::string_view name);

} // namespace Tarnwick::SystemError
