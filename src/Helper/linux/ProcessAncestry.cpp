// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessAncestry.h"

#include "Helper/linux/ProcFs.h"

#include <cstddef>
#include <optional>

namespace Tarnwick {

std::vector<Ancestor> ancestors(std::int32_t pid)
{
    constexpr std::size_t maxAncestors = 1024;
    const FileDescriptor root = ProcFs::openRoot();
    std::vector<Ancestor> found;
    std::optional<ProcFs::Stat> stat = ProcFs::stat(root.get(), pid);
    while (stat && stat->parent > 0 && found.size() < maxAncestors) {
        const pid_t parent = stat->parent;
        const pid_t group = stat->processGroup;
        stat = ProcFs::stat(root.get(), parent);
        if (stat) {
            found.push_back({.pid = parent,
                             .isShell = stat->isShell(),
                             .sharesGroup = stat->processGroup == group});
        }
    }
    return found;
}

} // namespace Tarnwick
