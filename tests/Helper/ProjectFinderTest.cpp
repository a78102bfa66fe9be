// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProjectFinder.h"

#include "Helper/linux/LocalMounts.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using std::filesystem::path;

void write(const path &file, const std::string &text)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

bool hasOpenat2()
{
    open_how how = {};
    how.flags = O_PATH | O_CLOEXEC;
    const long opened = ::syscall(SYS_openat2, AT_FDCWD, "/", &how, sizeof(how));
    return opened >= 0 && ::close(static_cast<int>(opened)) == 0;
}

/// A folder for projects, on a file system that is looked up.
class ProjectFinderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_root = std::filesystem::canonical(m_folder.path());
        if (!LocalMounts::ofThisProcess().contain(m_root.native())) {
            GTEST_SKIP() << "the temporary folder is on no local file system";
        }
        if (!hasOpenat2()) {
            GTEST_SKIP() << "openat2() is not available";
        }
    }

    [[nodiscard]] const path &root() const { return m_root; }

    /// The project of a process of ours that works in @p folder.
    static std::optional<Project> projectOf(const path &folder)
    {
        return ProjectFinder(std::chrono::seconds(10)).find(getpid(), folder.native());
    }

    static std::string branchOf(const path &folder)
    {
        const std::optional<Project> project = projectOf(folder);
        return project ? project->branch : "no project";
    }

private:
    TemporaryFolder m_folder;
    path m_root;
};

} // namespace

TEST_F(ProjectFinderTest, FindsTheNearestFolderAtOrAbove)
{
    write(root() / "shop/.git/HEAD", "ref: refs/heads/main\n");
    write(root() / "shop/web/.git/HEAD", "ref: refs/heads/feature/cart\n");
    std::filesystem::create_directories(root() / "shop/api/src");
    std::filesystem::create_directories(root() / "shop/web/src");
    const Project shop{.folder = (root() / "shop").native(), .branch = "main"};
    EXPECT_EQ(projectOf(root() / "shop"), shop);
    EXPECT_EQ(projectOf(root() / "shop/api/src"), shop);
    EXPECT_EQ(projectOf(root() / "shop/web/src"),
              (Project{.folder = (root() / "shop/web").native(), .branch = "feature/cart"}));
    EXPECT_EQ(shop.name(), "shop");
}

TEST_F(ProjectFinderTest, HasTheBeginningOfTheCommitWhereNoBranchIsCheckedOut)
{
    write(root() / ".git/HEAD", "0123456789abcdef0123456789abcdef01234567\n");
    EXPECT_EQ(branchOf(root()), "0123456");
}

TEST_F(ProjectFinderTest, FollowsTheFileOfAWorkTreeOrASubmodule)
{
    write(root() / "shop/.git/worktrees/fix/HEAD", "ref: refs/heads/fix\n");
    write(root() / "fix/.git", "gitdir: " + (root() / "shop/.git/worktrees/fix").native() + "\n");
    EXPECT_EQ(branchOf(root() / "fix"), "fix");
    write(root() / "shop/.git/modules/lib/HEAD", "ref: refs/heads/lib\n");
    write(root() / "shop/lib/.git", "gitdir: ../.git/modules/lib\n");
    EXPECT_EQ(branchOf(root() / "shop/lib"), "lib");
}

TEST_F(ProjectFinderTest, FollowsSuchAFileOnceOnly)
{
    write(root() / "a/.git", "gitdir: ../b/.git\n");
    write(root() / "b/.git", "gitdir: ../c\n");
    write(root() / "c/HEAD", "ref: refs/heads/main\n");
    EXPECT_EQ(branchOf(root() / "a"), "");
    EXPECT_EQ(branchOf(root() / "b"), "main");
}

TEST_F(ProjectFinderTest, HasNoBranchWhereNothingTellsIt)
{
    std::filesystem::create_directories(root() / "empty/.git");
    EXPECT_EQ(branchOf(root() / "empty"), "");
    for (const char *head : {"", "\n", "main", "0123", "ref:refs/heads/main"}) {
        write(root() / "odd/.git/HEAD", head);
        EXPECT_EQ(branchOf(root() / "odd"), "") << head;
    }
    write(root() / "file/.git", "elsewhere");
    EXPECT_EQ(branchOf(root() / "file"), "");
    write(root() / "long/.git/HEAD", "ref: refs/heads/" + std::string(10'000, 'x'));
    EXPECT_EQ(branchOf(root() / "long"), "");
}

TEST_F(ProjectFinderTest, ReadsNothingButRegularFiles)
{
    std::filesystem::create_directories(root() / "shop/.git");
    ASSERT_EQ(::mkfifo((root() / "shop/.git/HEAD").c_str(), 0600), 0) << std::strerror(errno);
    EXPECT_EQ(branchOf(root() / "shop"), "");
    ASSERT_EQ(::mkfifo((root() / ".git").c_str(), 0600), 0) << std::strerror(errno);
    EXPECT_EQ(branchOf(root()), "no project");
}

TEST_F(ProjectFinderTest, FollowsNoSymbolicLink)
{
    write(root() / "shop/.git/HEAD", "ref: refs/heads/main\n");
    std::filesystem::create_directories(root() / "other");
    std::filesystem::create_symlink(root() / "shop", root() / "link");
    EXPECT_EQ(branchOf(root() / "link"), "no project");
    std::filesystem::create_symlink(root() / "shop/.git", root() / "other/.git");
    EXPECT_EQ(branchOf(root() / "other"), "");
}

TEST_F(ProjectFinderTest, FindsNothingForAPathThatIsNone)
{
    for (const char *folder : {"", "/", "relative", "/proc", "/no/such/folder"}) {
        EXPECT_EQ(projectOf(folder), std::nullopt) << folder;
    }
    write(root() / "shop/.git/HEAD", "ref: refs/heads/main\n");
    std::filesystem::create_directories(root() / "shop/api");
    EXPECT_EQ(projectOf(root() / "shop/api/.."), std::nullopt);
}

TEST_F(ProjectFinderTest, LooksNothingUpAfterItsTime)
{
    write(root() / ".git/HEAD", "ref: refs/heads/main\n");
    ProjectFinder finder(std::chrono::milliseconds(0));
    EXPECT_EQ(finder.find(getpid(), root().native()), std::nullopt);
}

TEST_F(ProjectFinderTest, LooksAFolderUpOnce)
{
    ProjectFinder finder(std::chrono::seconds(10));
    EXPECT_EQ(finder.find(getpid(), root().native()), std::nullopt);
    write(root() / ".git/HEAD", "ref: refs/heads/main\n");
    EXPECT_EQ(finder.find(getpid(), root().native()), std::nullopt);
}

TEST_F(ProjectFinderTest, FindsNothingForAProcessThatIsNotThere)
{
    write(root() / ".git/HEAD", "ref: refs/heads/main\n");
    EXPECT_EQ(ProjectFinder().find(0, root().native()), std::nullopt);
    EXPECT_EQ(ProjectFinder().find(0x7FFFFFFF, root().native()), std::nullopt);
}

} // namespace Tarnwick
