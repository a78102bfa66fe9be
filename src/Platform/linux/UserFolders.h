// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>

/// Where the user keeps the files of programs, after the XDG Base Directory Specification 0.8: what
/// the environment says, unless that is unset, empty or relative. Nothing is made.
namespace Tarnwick::UserFolders {

/// `$XDG_CONFIG_HOME`, else `~/.config`.
[[nodiscard]] std::filesystem::path configuration();

/// `$XDG_STATE_HOME`, else `~/.local/state`.
[[nodiscard]] std::filesystem::path state();

} // namespace Tarnwick::UserFolders
