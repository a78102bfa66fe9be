// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// What sessions put into the environment of their programs.
constexpr std::array<std::string_view, 15> removedPrefixes{
    "COLORFGBG=", "COLORTERM=", "COLUMNS=", "DBUS_", "DESKTOP_", "DISPLAY=",    "GTK_", "LANG",
    "LC_",        "LINES=",     "NO_COLOR", "QT_",   "WAYLAND_", "XAUTHORITY=", "XDG_"};

std::vector<std::string> namesToRemove()
{
    std::vector<std::string> names;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        const bool isRemoved =
            std::any_of(removedPrefixes.begin(), removedPrefixes.end(),
                        [text](std::string_view prefix) { return text.starts_with(prefix); });
        if (isRemoved) {
            names.emplace_back(text.substr(0, text.find('=')));
        }
    }
    return names;
}

struct Folder
{
    const char *variable;
    const char *name;
};

constexpr std::array<Folder, 8> folders{{{"HOME", "home"},
                                         {"XDG_CACHE_HOME", "home/.cache"},
                                         {"XDG_CONFIG_HOME", "home/.config"},
                                         {"XDG_DATA_HOME", "home/.local/share"},
                                         {"XDG_STATE_HOME", "home/.local/state"},
                                         {"XDG_RUNTIME_DIR", "run"},
                                         {"XDG_CONFIG_DIRS", "etc"},
                                         {"XDG_DATA_DIRS", "share"}}};

} // namespace

IsolatedEnvironment::IsolatedEnvironment()
{
    for (const std::string &name : namesToRemove()) {
        unsetenv(name.c_str());
    }
    for (const Folder &folder : folders) {
        const std::filesystem::path path = m_folder.path() / folder.name;
        std::filesystem::create_directories(path);
        setenv(folder.variable, path.c_str(), 1);
    }
    std::filesystem::permissions(m_folder.path() / "run", std::filesystem::perms::owner_all);
    const std::string nobody = "unix:path=" + (m_folder.path() / "run/no-bus").string();
    setenv("DBUS_SESSION_BUS_ADDRESS", nobody.c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", nobody.c_str(), 1);
    setenv("TARNWICK_TIERS", "none", 1);
}

} // namespace Tarnwick
