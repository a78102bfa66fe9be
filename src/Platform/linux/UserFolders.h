// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <vector>

/// Where the files of programs are kept, after the XDG Base Directory Specification 0.8: what
/// the environment says, unless that is unset, empty or relative. Nothing is made.
namespace Tarnwick::UserFolders {

/// `$XDG_CONFIG_HOME`, else `~/.config`.
[[nodiscard]] std::filesystem::path configuration();

/// `$XDG_CONFIG_DIRS`, else `/etc/xdg`: what holds for all users, the most important folder first.
/// Folders that are not absolute are left out.
[[nodiscard]] std::vector<std::filesystem::path> systemConfigurations();

/// `$XDG_STATE_HOME`, else `~/.local/state`.
[[nodiscard]] std::filesystem::path state();

} // namespace Tarnwick::UserFolders
