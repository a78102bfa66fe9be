// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessAncestry.h"

#include "Helper/linux/ProcFs.h"
#include "Shared/Utf8.h"

#include <cstddef>
#include <optional>
#include <unordered_map>

namespace Tarnwick {

struct AncestryReader::Private
{
    /// What /proc/PID/stat told when it was read first.
    [[nodiscard]] const std::optional<ProcFs::Stat> &stat(pid_t pid)
    {
        const auto [known, isNew] = stats.try_emplace(pid);
        if (isNew) {
            known->second = ProcFs::stat(root.get(), pid);
        }
        return known->second;
    }

    FileDescriptor root = ProcFs::openRoot();
    std::unordered_map<pid_t, std::optional<ProcFs::Stat>> stats{};
};

AncestryReader::AncestryReader()
    : m_private(std::make_unique<Private>())
{
}

AncestryReader::~AncestryReader() = default;

std::vector<Ancestor> AncestryReader::ancestors(std::int32_t pid)
{
    constexpr std::size_t maxAncestors = 1024;
    std::vector<Ancestor> found;
    const std::optional<ProcFs::Stat> *child = &m_private->stat(pid);
    while (*child && (*child)->parent > 0 && found.size() < maxAncestors) {
        const std::optional<ProcFs::Stat> *const parent = &m_private->stat((*child)->parent);
        if (*parent) {
            found.push_back({.pid = (*child)->parent,
                             .name = Utf8::sanitized((*parent)->comm),
                             .isShell = (*parent)->isShell(),
                             .sharesGroup = (*parent)->processGroup == (*child)->processGroup});
        }
        child = parent;
    }
    return found;
}

std::vector<Ancestor> ancestors(std::int32_t pid)
{
    return AncestryReader().ancestors(pid);
}

} // namespace Tarnwick
