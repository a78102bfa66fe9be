// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/MappedFile.h"

#include <algorithm>
#include <cstddef>

namespace Tarnwick {

std::string MappedFile::find(std::string_view maps, std::string_view path)
{
    constexpr int fieldsBeforeDevice = 3; // the range, the permissions and the offset
    while (!maps.empty() && !path.empty()) {
        const std::string_view line = maps.substr(0, maps.find('\n'));
        maps.remove_prefix(std::min(maps.size(), line.size() + 1));
        if (!line.ends_with(path)) {
            continue;
        }
        std::size_t device = 0;
        for (int field = 0; field < fieldsBeforeDevice; ++field) {
            device = std::min(line.size(), line.find(' ', device)) + 1;
        }
        // Blanks fill the room between the inode and the path.
        const std::size_t inode = std::min(line.size(), line.find(' ', device)) + 1;
        const std::size_t end = std::min(line.size(), line.find(' ', inode));
        if (inode < line.size() && line.find_first_not_of(' ', end) == line.size() - path.size()) {
            return std::string(line.substr(device, end - device));
        }
    }
    return {};
}

} // namespace Tarnwick
