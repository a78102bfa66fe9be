// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>

namespace Tarnwick {

/// The places where Tarnwick keeps its files.
class Paths
{
public:
    Paths() = delete;

    /// The folder `Tarnwick` in the user's folder for application data, made if it is missing (with
    /// the folders above it); a failure to make it is ignored. On Linux that is `$XDG_DATA_HOME`,
    /// or
    /// `~/.local/share` where that is unset, empty or relative (XDG Base Directory Specification
    /// 0.8); the home folder is `$HOME`, else the user database's. Stops the program when the
    /// system knows no home folder. Any thread.
    [[nodiscard]] static std::filesystem::path applicationSupport();
};

} // namespace Tarnwick
