// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>

namespace Tarnwick {

/// Runs @p body in a thread in which renameat2(2) knows no flags, as on an old file system, and in
/// the processes that it starts neither. False, without running it, where the system filters no
/// system calls (seccomp(2)).
[[nodiscard]] bool withoutRenameFlags(const std::function<void()> &body);

} // namespace Tarnwick
