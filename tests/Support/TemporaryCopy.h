// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include <stdlib.h>

namespace Tarnwick {

/// A folder that is gone with this object, and copies of programs in it.
class TemporaryCopy
{
public:
    /// Everybody may read it: a process of another user is to run what lies in it.
    TemporaryCopy()
    {
        std::string folder = std::filesystem::temp_directory_path() / "tarnwick-XXXXXX";
        if (::mkdtemp(folder.data()) == nullptr) {
            throw std::runtime_error("no folder to be had");
        }
        m_folder = folder;
        std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
    }
    ~TemporaryCopy()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    TemporaryCopy(const TemporaryCopy &) = delete;
    TemporaryCopy &operator=(const TemporaryCopy &) = delete;

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }

    /// A copy of @p program under another name.
    [[nodiscard]] std::filesystem::path copy(const std::filesystem::path &program,
                                             std::string_view name) const
    {
        std::filesystem::path target = m_folder / name;
        std::filesystem::copy_file(program, target);
        return target;
    }

private:
    std::filesystem::path m_folder;
};

} // namespace Tarnwick
