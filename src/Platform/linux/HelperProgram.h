// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

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

    /// What another process runs, compared with this program.
    enum class Relation : std::uint8_t {
        Same,      ///< this program
        Former,    ///< a file that was at this program's path and is deleted: it was upgraded since
        OtherCopy, ///< a program of the same name elsewhere, another copy of the application's
        Stranger,  ///< anything else, and what may not be looked into
    };

    /// Compares by what the kernel tells of @p pid in /proc, by text: no file that the process runs
    /// is opened or looked up, for it may lie on a file system that the process itself serves. A
    /// path in another mount namespace says nothing of ours, so Same and Former share our
    /// namespace.
    ///
    /// It says what runs when it is asked, and that of the process that opened the connection to
    /// the bus. A program of the same user can open one, hand it on to a child and have that one
    /// run this file, or change a process that does (ptrace(2)). Such a program can do to the
    /// user's processes whatever the helper could do for it, so nothing is gained by a challenge.
    /// What it keeps out is whatever has the name by mistake or without leave to do these: other
    /// users, sandboxes that may only speak to the bus, and other versions.
    [[nodiscard]] Relation relationOf(pid_t pid) const;

    /// What @p pid runs, in the kernel's words; empty when that may not be read. For people.
    [[nodiscard]] static std::string executableOf(pid_t pid);
};

} // namespace Tarnwick
