// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <string>

namespace Tarnwick {

/// Gives a folder a POSIX access control list in which a user who is not there has
/// @p permissions (0 to 7), as much as anybody has. @p which is "access" or "default". False where
/// the file system has no such lists.
[[nodiscard]] bool setAccessControlList(const std::filesystem::path &folder,
                                        const std::string &which, unsigned permissions);

} // namespace Tarnwick
