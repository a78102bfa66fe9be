// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>

#include <sys/types.h>

namespace Tarnwick {

/// The helper that belongs to this application: the one that lies beside it, as in a build tree and
/// in a portable copy, or else the one that was installed together with it.
struct HelperProgram
{
    std::filesystem::path path;
    /// Whether it was installed, and so is started by the session bus.
    bool isInstalled = false;

    /// The helper of the application whose executable lies in @p folder.
    [[nodiscard]] static HelperProgram besideApplication(const std::filesystem::path &folder);

    /// Whether process @p pid runs this program. A process whose program was replaced at the same
    /// place since, as an upgrade does, still counts as running it. False for what may not be
    /// looked into.
    [[nodiscard]] bool isRunBy(pid_t pid) const;
};

} // namespace Tarnwick
