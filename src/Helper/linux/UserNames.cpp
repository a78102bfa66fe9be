// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/UserNames.h"

#include "Helper/linux/ProcFs.h"
#include "Shared/Utf8.h"

#include <algorithm>

#include <fcntl.h>

namespace Tarnwick {

std::string UserNames::name(uid_t user)
{
    constexpr std::size_t longestFile = 4UL * 1024 * 1024;
    constexpr std::size_t longestName = 256; // LOGIN_NAME_MAX
    if (!m_file) {
        m_file.emplace();
        ProcFs::readFile(AT_FDCWD, "/etc/passwd", *m_file, longestFile);
    }
    const auto [known, isNew] = m_names.try_emplace(user);
    if (isNew) {
        const std::string_view found = find(*m_file, user);
        const bool isUsable = !found.empty() && found.size() <= longestName;
        known->second = isUsable ? Utf8::sanitized(std::string(found)) : std::to_string(user);
    }
    return known->second;
}

std::string_view UserNames::find(std::string_view passwd, uid_t user)
{
    const std::string number = std::to_string(user);
    while (!passwd.empty()) {
        const std::string_view line = passwd.substr(0, passwd.find('\n'));
        passwd.remove_prefix(std::min(passwd.size(), line.size() + 1));
        // Name, password, number, and others.
        const std::size_t first = line.find(':');
        const std::size_t second =
            first == std::string_view::npos ? first : line.find(':', first + 1);
        if (second == std::string_view::npos) {
            continue;
        }
        const std::string_view rest = line.substr(second + 1);
        if (rest.substr(0, rest.find(':')) == number) {
            return line.substr(0, first);
        }
    }
    return {};
}

} // namespace Tarnwick
