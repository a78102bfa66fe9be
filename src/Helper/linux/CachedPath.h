// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <string>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

/// Paths that other processes name: they may lie on a file system that does not answer, as that of
/// a server which is gone, and whoever asks it waits for good.
class CachedPath
{
public:
    CachedPath() = delete;

    /// Whether the kernel knows, without asking any file system, that there is something at @p
    /// path (openat2(2), RESOLVE_CACHED; since Linux 5.12). What a process runs or works in is
    /// known of a local file system. False in doubt.
    [[nodiscard]] static bool exists(const std::string &path)
    {
        open_how how = {};
        how.flags = O_PATH | O_CLOEXEC;
        how.resolve = RESOLVE_CACHED;
        const FileDescriptor found(
            static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how))));
        return static_cast<bool>(found);
    }
};

} // namespace Tarnwick
