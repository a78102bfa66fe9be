// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>

#include <sys/types.h>

namespace Tarnwick {

/// An empty folder of its own for one test; goes with everything in it, when the process that made
/// it destroys this object: not when a child does that was forked.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
    pid_t m_owner;
};

} // namespace Tarnwick
