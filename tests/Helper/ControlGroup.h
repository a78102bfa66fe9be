// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include <sys/types.h>

namespace Tarnwick {

/// A control group of the test's own in the unified hierarchy, removed with this object once its
/// processes have ended.
class ControlGroup
{
public:
    /// Nothing where this user may not make one.
    [[nodiscard]] static std::optional<ControlGroup> make(std::string_view name);
    /// A group of just that name below this one, which must live longer; nothing likewise.
    [[nodiscard]] std::optional<ControlGroup> makeBelow(std::string_view name) const;
    ~ControlGroup();
    ControlGroup(ControlGroup &&other) noexcept;
    ControlGroup &operator=(ControlGroup &&) = delete;

    /// Moves a process into the group.
    [[nodiscard]] bool take(pid_t pid) const;

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }

private:
    explicit ControlGroup(std::filesystem::path folder)
        : m_folder(std::move(folder))
    {
    }

    std::filesystem::path m_folder;
};

} // namespace Tarnwick
