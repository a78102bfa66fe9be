// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace Tarnwick {

/// Raises the number of descriptors that this process may have to the most that it is allowed, and
/// gives that number; 0 where the system refuses.
std::uint64_t raiseDescriptorLimit();

} // namespace Tarnwick
