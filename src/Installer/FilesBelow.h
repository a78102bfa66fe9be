// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <optional>
#include <string>
#include <string_view>

#include <sys/stat.h>

/// Files by their paths below an open folder. No component of a path is ever followed as a symbolic
/// link, and none lies on another file system than the folder: whoever may write into it leads
/// nobody out of it. On failure errno says why.
namespace Tarnwick::FilesBelow {

/// The folder @p path, whose links are followed; not below any other.
[[nodiscard]] FileDescriptor openFolder(const std::string &path);

/// The folder @p name directly below @p folder, no link.
[[nodiscard]] FileDescriptor openFolder(int folder, const std::string &name);

/// The regular file at @p path, for reading. Waits for no writer of a pipe and opens no device.
/// EINVAL where there is something else than a regular file.
[[nodiscard]] FileDescriptor openFile(int folder, std::string_view path);

/// A new, empty file at @p path for writing, which nobody else can open yet; folders that are
/// missing are made with mode 0755, and belong to the user and the group of this process. EEXIST
/// where there is anything.
[[nodiscard]] FileDescriptor createFile(int folder, std::string_view path);

/// Gives an open file or folder to the user and the group of this process, with the permissions
/// @p mode whatever the umask.
[[nodiscard]] bool setOwnerAndMode(int file, mode_t mode);

/// All of a regular file that is no longer than @p maxBytes (EFBIG).
[[nodiscard]] std::optional<std::string> readFile(int folder, std::string_view path,
                                                  std::size_t maxBytes);

/// Removes the files that @p manifest lists, its marker, the folders that are empty then, and the
/// folder @p name itself. What is not listed stays. False when the folder is still there.
bool removeListed(int parent, const std::string &name, const PortableManifest &manifest);

} // namespace Tarnwick::FilesBelow
