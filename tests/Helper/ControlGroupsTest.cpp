// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ControlGroups.h"

#include "tests/Helper/ControlGroup.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

TEST(ControlGroups, NamesTheDeepestUnitOfAPath)
{
    EXPECT_EQ(ControlGroups::unit("/system.slice/nginx.service"), "nginx.service");
    EXPECT_EQ(ControlGroups::unit("/system.slice/docker.service/part"), "docker.service");
    EXPECT_EQ(ControlGroups::unit("/user.slice/user-1000.slice/session-2.scope"),
              "session-2.scope");
    EXPECT_EQ(ControlGroups::unit("/system.slice/cups.socket"), "cups.socket");
    EXPECT_EQ(ControlGroups::unit("/"), "");
    EXPECT_EQ(ControlGroups::unit("/plain/group"), "");
    EXPECT_EQ(ControlGroups::unit("/.service"), "") << "a suffix alone is no unit";
}

TEST(ControlGroups, KnowsTheGroupsThatStrangersShare)
{
    EXPECT_TRUE(ControlGroups::isShared("/"));
    EXPECT_TRUE(ControlGroups::isShared("/init.scope"));
    EXPECT_TRUE(ControlGroups::isShared("/user.slice/user-1000.slice/session-2.scope"));
    EXPECT_TRUE(ControlGroups::isShared("/user.slice"));
    EXPECT_FALSE(ControlGroups::isShared("/system.slice/nginx.service"));
    EXPECT_FALSE(ControlGroups::isShared("/system.slice/docker-4711.scope"));
}

TEST(ControlGroups, KnowsTheServiceOfASocketUnit)
{
    EXPECT_EQ(ControlGroups::serviceOfSocketUnit("/system.slice/cups.socket"),
              "/system.slice/cups.service");
    EXPECT_EQ(ControlGroups::serviceOfSocketUnit("/system.slice/cups.service"), std::nullopt);
}

TEST(ControlGroups, FindsTheMountPointOfTheUnifiedHierarchy)
{
    EXPECT_EQ(ControlGroups::mountPoint("29 22 0:26 / /sys/fs/cgroup rw - cgroup2 cgroup2 rw\n"),
              "/sys/fs/cgroup");
    EXPECT_EQ(ControlGroups::mountPoint(
                  "1 2 0:1 / / rw - ext4 /dev/vda rw\n"
                  "2 3 0:2 / /sys/fs/cgroup/cpu rw shared:1 - cgroup cgroup rw,cpu\n"
                  "3 4 0:3 / /mnt/with\\040blank rw,nosuid shared:9 master:1 - cgroup2 none rw\n"),
              "/mnt/with blank");
    EXPECT_EQ(ControlGroups::mountPoint("1 2 0:1 / / rw - ext4 /dev/vda rw\n"), std::nullopt);
    EXPECT_EQ(ControlGroups::mountPoint("garbage\n"), std::nullopt);
    EXPECT_EQ(ControlGroups::mountPoint(""), std::nullopt);
}

TEST(ControlGroups, FindsAGroupByItsNumberAndTheProcessesInIt)
{
    const auto group = ControlGroup::make("find.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    ControlGroups groups;
    const auto within = group->folder() / "part";
    std::filesystem::create_directory(within);
    {
        const Puppet puppet;
        ASSERT_TRUE(group->take(puppet.pid()));
        struct stat status = {};
        ASSERT_EQ(::stat(group->folder().c_str(), &status), 0);
        const auto path = groups.path(status.st_ino);
        ASSERT_TRUE(path.has_value());
        EXPECT_EQ(std::filesystem::path(*path).filename(), group->folder().filename());
        EXPECT_EQ(groups.processes(*path), std::vector<pid_t>{puppet.pid()});

        // A group that has handed its processes on is looked for below itself.
        std::ofstream(within / "cgroup.procs") << puppet.pid() << std::flush;
        EXPECT_EQ(groups.processList(*path), "");
        EXPECT_EQ(groups.processes(*path), std::vector<pid_t>{puppet.pid()});
    }
    for (int attempt = 0; attempt < 500 && ::rmdir(within.c_str()) != 0; ++attempt) {
        ::usleep(10'000);
    }
}

TEST(ControlGroups, WalksTheTreeOnceInEachLook)
{
    ControlGroups groups;
    groups.beginLook();
    EXPECT_EQ(groups.path(~std::uint64_t{0}), std::nullopt);
    const auto group = ControlGroup::make("late.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    struct stat status = {};
    ASSERT_EQ(::stat(group->folder().c_str(), &status), 0);
    EXPECT_EQ(groups.path(status.st_ino), std::nullopt);
    groups.beginLook();
    EXPECT_TRUE(groups.path(status.st_ino).has_value());
}

TEST(ControlGroups, KnowsNoGroupForANumberThatNoneHas)
{
    ControlGroups groups;
    EXPECT_EQ(groups.path(0), std::nullopt);
    EXPECT_EQ(groups.path(~std::uint64_t{0}), std::nullopt);
    EXPECT_TRUE(groups.processes("/no/such/group").empty());
}

} // namespace
} // namespace Tarnwick
