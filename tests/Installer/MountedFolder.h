// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <string>

namespace Tarnwick {

/// A file system in memory, mounted for as long as this object lives, and only for this process and
/// those that it starts: it has a mount namespace of its own from the first such object on, and
/// where it is not root a user namespace as well.
class MountedFolder
{
public:
    /// Mounts it at @p place, which exists. @p options as mount(8) takes them for tmpfs.
    MountedFolder(std::filesystem::path place, const std::string &options, unsigned long flags = 0);
    ~MountedFolder();
    MountedFolder(const MountedFolder &) = delete;
    MountedFolder &operator=(const MountedFolder &) = delete;

    /// False where the system permits nobody such as us to mount anything.
    [[nodiscard]] explicit operator bool() const { return m_isMounted; }

    /// Takes the right to write into it away.
    [[nodiscard]] bool makeReadOnly() const;

private:
    std::filesystem::path m_place;
    bool m_isMounted = false;
};

} // namespace Tarnwick
