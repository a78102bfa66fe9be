// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Tarnwick {

/// The names of users in /etc/passwd (passwd(5)). The system's other sources of users are not
/// asked: a statically linked program cannot, and one on the network may keep a listing waiting.
/// The file is read when the first name is asked for.
class UserNames
{
public:
    /// The name of @p user as UTF-8; its number in decimal where the file has none.
    [[nodiscard]] std::string name(uid_t user);

    /// The name that the text of such a file has for @p user; empty when it has none.
    [[nodiscard]] static std::string_view find(std::string_view passwd, uid_t user);

private:
    std::optional<std::string> m_file;
    std::map<uid_t, std::string> m_names; ///< those that were asked for
};

} // namespace Tarnwick
