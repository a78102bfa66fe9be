// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/UnixListeners.h"

#include <cstdint>
#include <string>
#include <variant>

namespace Tarnwick {

/// The file to which a UNIX socket is bound, by what identifies it in the kernel and not by its
/// path, which has many spellings and means another file in another namespace of mounts. Any
/// thread.
class SocketFile
{
public:
    /// The errno when the path leads to no file, or nowhere that this user may go; ENOTSOCK when
    /// that is no socket. @p root is /proc.
    [[nodiscard]] static std::variant<SocketFile, int> open(int root, const std::string &path);

    /// Whether @p listener was bound to this file.
    [[nodiscard]] bool isOf(const UnixListener &listener) const;

private:
    std::uint32_t m_inode = 0;
    std::uint32_t m_device = 0;        ///< as stat(2) has it
    std::uint32_t m_deviceOfMount = 0; ///< as the file system's mount has it
};

} // namespace Tarnwick
