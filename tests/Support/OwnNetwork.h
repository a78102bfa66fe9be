// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

namespace Tarnwick {

/// Puts the calling thread, and what it starts from now on, into a network of its own, in which
/// nothing listens but what the test starts; for good. False where this user may not, or the
/// loopback interface could not be switched on.
[[nodiscard]] bool enterOwnNetwork();

} // namespace Tarnwick
