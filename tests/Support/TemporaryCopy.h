// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <string_view>

namespace Tarnwick {

/// Copies of programs in a folder that is gone with this object. Everybody may read it, for a
/// process of another user may be to run what lies in it.
class TemporaryCopy
{
public:
    TemporaryCopy() { std::filesystem::permissions(folder(), std::filesystem::perms(0755)); }

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder.path(); }

    /// A copy of @p program under another name.
    [[nodiscard]] std::filesystem::path copy(const std::filesystem::path &program,
                                             std::string_view name) const
    {
        std::filesystem::path target = folder() / name;
        std::filesystem::copy_file(program, target);
        return target;
    }

private:
    TemporaryFolder m_folder;
};

} // namespace Tarnwick
