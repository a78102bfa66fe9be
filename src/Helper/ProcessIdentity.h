// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <memory>

namespace Tarnwick {

/// Which process, beyond its identifier, which the system uses again. A value, to be kept for as
/// long as somebody may mean that process.
struct ProcessIdentity
{
    std::int32_t pid = 0;
    std::uint64_t startTicks = 0; ///< since boot, in units of sysconf(_SC_CLK_TCK)
    /// The inode of the process in pidfs (Linux 6.9), which is never used again before the next
    /// boot; 0 where it is not known.
    std::uint64_t inode = 0;
    /// The process was seen alive in a later tick than the one it started in. Whatever gets its
    /// identifier afterwards has started later, and its start differs.
    bool outlivedStartTick = false;
    /// A descriptor of pidfd_open(2), for a process that has neither of the two above yet.
    std::shared_ptr<const FileDescriptor> descriptor{};
};

/// Whether @p earlier and @p later, in the order in which they were read, are the same process.
/// False as well where that cannot be proved.
[[nodiscard]] bool isSameProcess(const ProcessIdentity &earlier, const ProcessIdentity &later);

} // namespace Tarnwick
