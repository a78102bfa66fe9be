// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace Tarnwick {
namespace {

TEST(IsolatedEnvironment, HasFoldersOfItsOwnInPlaceOfTheUsersAndTheMachines)
{
    for (const char *name :
         {"HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME",
          "XDG_RUNTIME_DIR", "XDG_CONFIG_DIRS", "XDG_DATA_DIRS"}) {
        const ScopedEnvironment users(name, "/usr/share");
        const IsolatedEnvironment environment;
        const std::filesystem::path folder = getenv(name);
        EXPECT_NE(folder, "/usr/share") << name;
        EXPECT_TRUE(std::filesystem::is_empty(folder) || folder.filename() == "home") << name;
    }
}

TEST(IsolatedEnvironment, ReachesNoBusOfTheMachine)
{
    for (const char *name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
        const ScopedEnvironment machines(name, "unix:path=/run/user/0/bus");
        const IsolatedEnvironment environment;
        const std::string address = getenv(name);
        EXPECT_TRUE(address.ends_with("/no-bus")) << address;
    }
}

TEST(IsolatedEnvironment, HasNoDisplayAndNoLanguageOfTheUser)
{
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "LANGUAGE", "LC_ALL", "NO_COLOR",
                             "QT_SCALE_FACTOR", "XDG_CURRENT_DESKTOP"}) {
        const ScopedEnvironment users(name, "2");
        const IsolatedEnvironment environment;
        EXPECT_EQ(getenv(name), nullptr) << name;
    }
}

TEST(IsolatedEnvironment, HasTheBuiltInRulesForTiersOnly)
{
    const ScopedEnvironment users("TARNWICK_TIERS", std::nullopt);
    const IsolatedEnvironment environment;
    EXPECT_STREQ(getenv("TARNWICK_TIERS"), "none");
}

} // namespace
} // namespace Tarnwick
