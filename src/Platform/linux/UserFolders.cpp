// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UserFolders.h"

#include <QDir>
#include <QFile>

#include <cstdlib>

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

path state()
{
    return folder("XDG_STATE_HOME", ".local/state");
}

} // namespace Tarnwick::UserFolders
