// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// The folder that a version control system (Git) keeps, in which a process works. All texts are
/// UTF-8.
struct Project
{
    std::string folder{}; ///< full path
    /// That is checked out, or the first seven digits of the commit where none is; empty when
    /// neither can be told.
    std::string branch{};

    /// The last part of the folder's path.
    [[nodiscard]] std::string name() const;

    friend bool operator==(const Project &, const Project &) = default;
};

/// Finds the projects of processes: the nearest folder at or above their working directory that
/// holds ".git", a folder, or a file that names one (gitrepository-layout(5)). Other processes name
/// these paths, which may lie on a file system that does not answer. So only those are looked up
/// that lie on local file systems, by the table of mounts, and no symbolic link is followed. Each
/// working directory is looked up once. One thread.
class ProjectFinder
{
public:
    /// @p timeLimit is for all that the finder looks up: later than that after the first it finds
    /// nothing new.
    explicit ProjectFinder(std::chrono::milliseconds timeLimit = std::chrono::milliseconds(500));
    ~ProjectFinder();
    ProjectFinder(const ProjectFinder &) = delete;
    ProjectFinder &operator=(const ProjectFinder &) = delete;

    /// The project of the process @p pid that works in @p folder, as its record has it; nothing for
    /// one that is in none, cannot be looked into, or has another view of the file system: another
    /// mount namespace (mount_namespaces(7)) or another root directory.
    [[nodiscard]] const std::optional<Project> &find(std::int32_t pid, const std::string &folder);

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};

} // namespace Tarnwick
