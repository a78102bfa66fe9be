// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <functional>
#include <vector>

namespace Tarnwick {

/// The user and the group `nobody` of Debian.
inline constexpr unsigned otherUser = 65534;

/// Runs @p body in a process of its own, and gives what it returned (0 to 125).
int inOwnProcess(const std::function<int()> &body);

/// The same in a process of the user nobody; 126 when becoming that user failed. For tests that run
/// as root.
int asOtherUser(const std::function<int()> &body);

/// What an inventory lists in a process of its own, after @p prepare ran there; nothing when
/// preparing or listing failed. The warm listing is the second of two.
std::vector<RawPortInfo> listInOwnProcess(const std::function<bool()> &prepare, bool warm = false);

/// Becomes the user nobody, for good.
bool becomeOtherUser();

} // namespace Tarnwick
