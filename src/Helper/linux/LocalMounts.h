// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// Which paths lie on file systems of this machine: those that a block device, memory, or layers of
/// such hold. A network file system, one in user space (FUSE) and one of another kind may keep a
/// look-up waiting for good. Reads the table of mounts only, and asks no file system. A value.
class LocalMounts
{
public:
    /// From the text of a mountinfo file (proc(5)).
    explicit LocalMounts(std::string_view mountInfo);

    /// Those of this process at this moment; none when they cannot be read.
    [[nodiscard]] static LocalMounts ofThisProcess();

    /// Whether a look-up of @p path, which is absolute and has no "..", meets none but local file
    /// systems, symbolic links aside.
    [[nodiscard]] bool contain(std::string_view path) const;

    /// Whether file systems of @p type, as mountinfo has it, are local.
    [[nodiscard]] static bool isLocalType(std::string_view type);

private:
    struct Mount
    {
        std::string folder; ///< the mount point
        bool isLocal = false;
    };
    std::vector<Mount> m_mounts; ///< in their order: a later one hides those at the same place
};

} // namespace Tarnwick
