// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/UnixListeners.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace Tarnwick {

/// The devices of the file systems that this process has mounted, read when one is asked for, and
/// once. One thread.
class MountTable
{
public:
    /// @p root is /proc and must outlive it.
    explicit MountTable(int root)
        : m_root(root)
    {
    }

    /// The device of the mount that the open @p descriptor is on, as UnixListeners::fileDevice()
    /// makes it; 0 when the table does not have it. Nothing, with errno, when that cannot be read.
    [[nodiscard]] std::optional<std::uint32_t> deviceOfMount(int descriptor);

private:
    int m_root;
    std::string m_table; ///< mountinfo (proc(5)); empty before it was read
};

/// The file to which a UNIX socket is bound, by what identifies it in the kernel and not by its
/// path, which has many spellings and means another file in another namespace of mounts. Any
/// thread.
class SocketFile
{
public:
    /// Whether a symbolic link at the end of a path is followed, or is an error (ENOTSOCK). A link
    /// that is followed may lead into a file system that never answers.
    enum class Links { Followed, NotFollowed };

    /// The errno when the path leads to no file, or nowhere that this user may go; ENOTSOCK when
    /// that is no socket.
    [[nodiscard]] static std::variant<SocketFile, int> open(const std::string &path, Links links,
                                                            MountTable &mounts);

    /// Whether @p listener was bound to this file.
    [[nodiscard]] bool isOf(const UnixListener &listener) const;

    /// A path at which connect(2) reaches this very file while the object lives.
    [[nodiscard]] std::string path() const;

private:
    FileDescriptor m_descriptor; ///< O_PATH
    std::uint32_t m_inode = 0;
    std::uint32_t m_device = 0;        ///< as stat(2) has it
    std::uint32_t m_deviceOfMount = 0; ///< as the file system's mount has it
};

} // namespace Tarnwick
