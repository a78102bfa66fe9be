// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Installer/PortableManifest.h"
#include "Shared/FileDescriptor.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
/// missing are made with mode 0755, and belong to the user and the group of this process. Neither
/// has an access control list. EEXIST where there is anything.
[[nodiscard]] FileDescriptor createFile(int folder, std::string_view path);

/// Gives an open file or folder to the user and the group of this process, with the permissions
/// @p mode whatever the umask, and removes its access control lists. False as well, with EPERM,
/// where the file system accepts this and does something else.
[[nodiscard]] bool setOwnerAndMode(int file, mode_t mode);

/// All of a regular file that is no longer than @p maxBytes (EFBIG).
[[nodiscard]] std::optional<std::string> readFile(int folder, std::string_view path,
                                                  std::size_t maxBytes);

/// Whether @p name in @p parent is the open file or folder @p open, and no link to it. ENOENT where
/// it is another one.
[[nodiscard]] bool isSame(int parent, const std::string &name, int open);

/// Renames the folder @p name in @p parent to @p newName. False where anything but an empty folder
/// has that name, and with EEXIST for that as well where the file system can see to it.
[[nodiscard]] bool renameToNew(int parent, const std::string &name, const std::string &newName);

/// Whether @p error says that a file system knows no flags of renameat2(2).
[[nodiscard]] bool isWithoutFlags(int error);

/// Whether @p error says that the system is short of something, such as descriptors or memory, or
/// that a device fails: it says nothing about what is at a path.
[[nodiscard]] bool isResourceError(int error);

/// What lies directly in the open @p folder, without "." and ".."; nothing when it cannot be read.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(int folder);

/// Removes the files that @p manifest lists from the open @p folder, the folders in it that are
/// empty then, and, when nothing is left, the marker and the folder itself, if it still is @p name
/// in @p parent. What is not listed stays, and the marker with it. False when the folder stays:
/// with the first error of isResourceError() in errno where there was one, as then what is listed
/// may have stayed as well.
bool removeListed(int parent, const std::string &name, int folder,
                  const PortableManifest &manifest);

} // namespace Tarnwick::FilesBelow
