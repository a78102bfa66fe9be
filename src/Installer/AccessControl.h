// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>

/// The POSIX access control lists of open files and folders (acl(5)), which Linux keeps in extended
/// attributes. A file system without such lists has none of what is asked about here.
namespace Tarnwick::AccessControl {

/// Whether a user or a group that the list of @p file names may write to it. Such an entry hides in
/// the permissions of stat(2) as those of the file's group. An attribute that cannot be understood
/// counts as one that allows it; a file that was opened with O_PATH has none. Nothing, with the
/// reason in errno, where the list cannot be read.
[[nodiscard]] std::optional<bool> letsNamedOnesWrite(int file);

/// Removes the list of @p file, and the default list that a new folder inherits from the one that
/// it is made in. False, with the reason in errno, where one is still there.
[[nodiscard]] bool removeLists(int file);

} // namespace Tarnwick::AccessControl
