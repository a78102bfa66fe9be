// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>

#include <sys/types.h>

namespace Tarnwick {

/// A control group of the test's own in the freezer of the first hierarchies (cgroups(7)), whose
/// frozen processes do not even die from SIGKILL. Thawed and removed with this object.
class FrozenGroup
{
public:
    FrozenGroup();
    ~FrozenGroup();
    FrozenGroup(const FrozenGroup &) = delete;
    FrozenGroup &operator=(const FrozenGroup &) = delete;

    /// Moves a process into the group and freezes it; false where there is no such group to be had.
    [[nodiscard]] bool freeze(pid_t pid) const;

private:
    std::filesystem::path m_folder;
};

} // namespace Tarnwick
