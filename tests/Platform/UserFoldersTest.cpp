// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UserFolders.h"

#include "tests/Support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Tarnwick {
namespace {

using testing::ElementsAre;

TEST(UserFolders, AreWhereTheEnvironmentSays)
{
    const ScopedEnvironment configuration("XDG_CONFIG_HOME", "/somewhere/config");
    const ScopedEnvironment state("XDG_STATE_HOME", "/somewhere/state");
    EXPECT_EQ(UserFolders::configuration(), "/somewhere/config");
    EXPECT_EQ(UserFolders::state(), "/somewhere/state");
}

TEST(UserFolders, LieBelowTheHomeFolderWithoutAnAbsolutePathInTheEnvironment)
{
    const ScopedEnvironment home("HOME", "/home/ann");
    const ScopedEnvironment configuration("XDG_CONFIG_HOME", "relative");
    const ScopedEnvironment state("XDG_STATE_HOME", std::nullopt);
    EXPECT_EQ(UserFolders::configuration(), "/home/ann/.config");
    EXPECT_EQ(UserFolders::state(), "/home/ann/.local/state");
}

TEST(UserFolders, OfTheSystemAreWhereTheEnvironmentSays)
{
    const ScopedEnvironment folders("XDG_CONFIG_DIRS", "/first::relative:/second/");
    EXPECT_THAT(UserFolders::systemConfigurations(), ElementsAre("/first", "/second/"));
}

TEST(UserFolders, OfTheSystemAreTheUsualOneWithoutAnEnvironment)
{
    for (const std::optional<std::string> &value :
         {std::optional<std::string>(), std::optional<std::string>("")}) {
        const ScopedEnvironment folders("XDG_CONFIG_DIRS", value);
        EXPECT_THAT(UserFolders::systemConfigurations(), ElementsAre("/etc/xdg"));
    }
}

} // namespace
} // namespace Tarnwick
