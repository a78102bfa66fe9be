// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/EntryText.h"

namespace Tarnwick {

namespace {

/// @p path without its last component and the slashes before that; the root is its own parent.
std::string_view parentFolder(std::string_view path)
{
    const auto withoutTrailingSlashes = [](std::string_view text) {
        const std::size_t last = text.find_last_not_of('/');
        return last == std::string_view::npos ? text.substr(0, 1) : text.substr(0, last + 1);
    };
    const std::string_view trimmed = withoutTrailingSlashes(path);
    const std::size_t slash = trimmed.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return withoutTrailingSlashes(trimmed.substr(0, slash + 1));
}

} // namespace

std::string EntryText::replacingHomePrefix(std::string_view text, std::string_view home)
{
    if (home.empty() || !text.starts_with(home)) {
        return std::string(text);
    }
    const std::string_view rest = text.substr(home.size());
    if (!rest.empty() && !rest.starts_with('/')) {
        return std::string(text);
    }
    return '~' + std::string(rest);
}

std::string EntryText::fullCommand(const PortEntry &entry, std::string_view home)
{
    std::string command;
    for (const std::string &argument : entry.originArguments) {
        if (argument.empty()) {
            continue;
        }
        if (!command.empty()) {
            command += ' ';
        }
        command += replacingHomePrefix(argument, home);
    }
    return command.empty() ? entry.command : command;
}

std::optional<std::string> EntryText::displayCwd(const PortEntry &entry, std::string_view home)
{
    if (entry.cwd.empty() || entry.cwd == "/" || entry.cwd == parentFolder(entry.command)) {
        return std::nullopt;
    }
    return replacingHomePrefix(entry.cwd, home);
}

} // namespace Tarnwick
