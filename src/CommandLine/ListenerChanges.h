// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <span>
#include <vector>

namespace Tarnwick {

/// The listeners of @p some that @p others do not have, by comesBefore(); both in order. What is
/// given points into @p some.
[[nodiscard]] std::vector<const Listener *> listenersOnlyIn(std::span<const Listener> some,
                                                            std::span<const Listener> others);

} // namespace Tarnwick
