// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UserFolders.h"

#include <QDir>
#include <QFile>

#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace Tarnwick::UserFolders {

namespace {

using std::filesystem::path;

path folder(const char *variable, const char *belowHome)
{
    const char *const value = std::getenv(variable);
    path chosen(value == nullptr ? "" : value);
    if (chosen.is_absolute()) {
        return chosen;
    }
    return path(QFile::encodeName(QDir::homePath()).toStdString()) / belowHome;
}

} // namespace

path configuration()
{
    return folder("XDG_CONFIG_HOME", ".config");
}

std::vector<path> systemConfigurations()
{
    const char *const value = std::getenv("XDG_CONFIG_DIRS");
    const bool isSet = value != nullptr && *value != '\0';
    std::string_view rest = isSet ? value : "/etc/xdg";
    std::vector<path> folders;
    while (!rest.empty()) {
        const std::size_t end = rest.find(':');
        if (path one(rest.substr(0, end)); one.is_absolute()) {
            folders.push_back(std::move(one));
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return folders;
}

path state()
{
    return folder("XDG_STATE_HOME", ".local/state");
}

} // namespace Tarnwick::UserFolders
