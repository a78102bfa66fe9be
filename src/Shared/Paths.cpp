// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Paths.h"

#include "Models/Precondition.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <system_error>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using std::filesystem::path;

/// The folder that the environment variable @p name holds; empty unless it is an absolute path.
path folderFromEnvironment(const char *name)
{
    const char *const value = std::getenv(name);
    path folder(value == nullptr ? "" : value);
    return folder.is_absolute() ? folder : path();
}

/// The user's home folder according to the user database; empty when it knows none.
path homeFromUserDatabase()
{
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> texts(suggested > 0 ? static_cast<std::size_t>(suggested) : 1024);
    passwd user{};
    passwd *found = nullptr;
    while (getpwuid_r(getuid(), &user, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(texts.size() * 2);
    }
    return found == nullptr ? path() : path(found->pw_dir);
}

path home()
{
    path folder = folderFromEnvironment("HOME");
    if (folder.empty()) {
        folder = homeFromUserDatabase();
    }
    if (folder.empty()) {
        preconditionFailure("the user must have a home folder");
    }
    return folder;
}

path userDataFolder()
{
    path folder = folderFromEnvironment("XDG_DATA_HOME");
    return folder.empty() ? home() / ".local" / "share" : folder;
}

} // namespace

path Paths::applicationSupport()
{
    path folder = userDataFolder() / "Tarnwick";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return folder;
}

} // namespace Tarnwick
