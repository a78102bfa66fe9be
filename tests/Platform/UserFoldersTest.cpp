// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UserFolders.h"

#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

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

} // namespace
} // namespace Tarnwick
