// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>

namespace Tarnwick {

/// Which flags of renameat2(2) fail with EINVAL.
enum class MissingFlags : std::uint8_t {
    All,      ///< as on an old file system
    Exchange, ///< RENAME_EXCHANGE, as where only RENAME_NOREPLACE is known
};

/// Runs @p body in a thread in which renameat2(2) lacks flags, and in the processes that it starts
/// as well. False, without running it, where the system filters no system calls (seccomp(2)).
[[nodiscard]] bool withoutRenameFlags(MissingFlags missing, const std::function<void()> &body);

} // namespace Tarnwick
