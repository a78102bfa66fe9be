// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>

class QVariant;

namespace Tarnwick {

/// The truth value that a settings file holds: true, yes, on, 1 or false, no, off, 0, in letters of
/// any case, as people write them by hand. Nothing for anything else.
[[nodiscard]] std::optional<bool> storedBool(const QVariant &value);

} // namespace Tarnwick
