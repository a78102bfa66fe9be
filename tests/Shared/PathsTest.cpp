// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Paths.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include <pwd.h>
#include <unistd.h>

using namespace Tarnwick;

namespace fs = std::filesystem;

namespace {

/// The user whom the user database of no system knows, and the one that every one knows.
constexpr uid_t unknownUser = 3'456'789;
constexpr uid_t nobody = 65'534;

class PathsTest : public testing::Test
{
protected:
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(PathsTest, AreBelowTheDataHomeOfTheEnvironment)
{
    const ScopedEnvironment dataHome("XDG_DATA_HOME", m_folder.path());
    EXPECT_EQ(Paths::applicationSupport(), m_folder.path() / "Tarnwick");
}

TEST_F(PathsTest, AreMadeWithTheFoldersAbove)
{
    const fs::path deep = m_folder.path() / "not" / "yet";
    const ScopedEnvironment dataHome("XDG_DATA_HOME", deep);
    EXPECT_TRUE(fs::is_directory(Paths::applicationSupport()));
    EXPECT_TRUE(fs::is_directory(deep / "Tarnwick"));
}

TEST_F(PathsTest, AreBelowTheHomeFolderWhereTheDataHomeIsUnsetEmptyOrRelative)
{
    const ScopedEnvironment home("HOME", m_folder.path());
    const fs::path expected = m_folder.path() / ".local" / "share" / "Tarnwick";
    for (const std::optional<std::string> &value :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("relative/data"), std::optional<std::string>("~/data")}) {
        const ScopedEnvironment dataHome("XDG_DATA_HOME", value);
        EXPECT_EQ(Paths::applicationSupport(), expected);
    }
    EXPECT_TRUE(fs::is_directory(expected));
}

TEST_F(PathsTest, FollowTheEnvironmentAtEveryCall)
{
    for (const char *const name : {"one", "two"}) {
        const ScopedEnvironment dataHome("XDG_DATA_HOME", m_folder.path() / name);
        EXPECT_EQ(Paths::applicationSupport(), m_folder.path() / name / "Tarnwick");
    }
}

TEST_F(PathsTest, LeaveWhatIsThere)
{
    const ScopedEnvironment dataHome("XDG_DATA_HOME", m_folder.path());
    const fs::path file = Paths::applicationSupport() / "kept";
    std::ofstream(file) << "text";
    EXPECT_EQ(Paths::applicationSupport(), file.parent_path());
    EXPECT_EQ(fs::file_size(file), 4U);
}

TEST_F(PathsTest, AreToldEvenWhenTheyCannotBeMade)
{
    const fs::path file = m_folder.path() / "file";
    std::ofstream(file) << "in the way";
    const ScopedEnvironment dataHome("XDG_DATA_HOME", file);
    EXPECT_EQ(Paths::applicationSupport(), file / "Tarnwick");
    EXPECT_FALSE(fs::exists(file / "Tarnwick"));
}

TEST(PathsDeathTest, AskTheUserDatabaseWhereTheEnvironmentKnowsNoHome)
{
    const passwd *const user = getpwuid(nobody);
    if (geteuid() != 0 || user == nullptr || fs::exists(user->pw_dir)) {
        GTEST_SKIP() << "needs root, and a user nobody without a home folder";
    }
    const fs::path expected = fs::path(user->pw_dir) / ".local" / "share" / "Tarnwick";
    for (const std::optional<std::string> &value :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("relative")}) {
        const ScopedEnvironment dataHome("XDG_DATA_HOME", std::nullopt);
        const ScopedEnvironment home("HOME", value);
        EXPECT_EXIT(
            {
                const bool changed = setuid(nobody) == 0;
                _exit(changed && Paths::applicationSupport() == expected ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
    }
}

TEST(PathsDeathTest, StopTheProgramWhereTheUserHasNoHome)
{
    if (geteuid() != 0 || getpwuid(unknownUser) != nullptr) {
        GTEST_SKIP() << "needs root, and a user who is not in the user database";
    }
    const ScopedEnvironment dataHome("XDG_DATA_HOME", std::nullopt);
    const ScopedEnvironment home("HOME", std::nullopt);
    EXPECT_DEATH(
        {
            if (setuid(unknownUser) == 0) {
                (void)Paths::applicationSupport();
            }
        },
        "fatal: the user must have a home folder");
}
