// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/LocalMounts.h"

#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

constexpr std::string_view mountInfo =
    "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
    "30 22 0:26 / /proc rw shared:2 - proc proc rw\n"
    "31 22 8:2 / /home rw shared:3 master:4 - btrfs /dev/sda2 rw\n"
    "32 31 0:40 / /home/ada/remote rw - nfs4 server:/export rw\n"
    "33 32 8:3 / /home/ada/remote/disk rw - ext4 /dev/sdb1 rw\n"
    "34 31 0:41 / /home/ada/my\\040files rw - fuse.sshfs server: rw\n";

} // namespace

TEST(LocalMounts, ContainWhatLiesOnLocalFileSystems)
{
    const LocalMounts mounts(mountInfo);
    for (const char *path : {"/srv", "/home", "/home/ada", "/home/ada/shop", "/home/ada/remotely",
                             "/home/ada/my files too"}) {
        EXPECT_TRUE(mounts.contain(path)) << path;
    }
}

TEST(LocalMounts, DoNotContainWhatIsReachedThroughOthers)
{
    const LocalMounts mounts(mountInfo);
    for (const char *path : {"/proc", "/proc/1", "/home/ada/remote", "/home/ada/remote/shop",
                             "/home/ada/remote/disk/shop", "/home/ada/my files"}) {
        EXPECT_FALSE(mounts.contain(path)) << path;
    }
}

TEST(LocalMounts, GoByTheLatestRoot)
{
    EXPECT_TRUE(LocalMounts("1 1 0:1 / / rw - rootfs none rw\n2 1 8:1 / / rw - xfs /dev/sda rw\n")
                    .contain("/srv"));
    EXPECT_FALSE(LocalMounts("1 1 8:1 / / rw - xfs /dev/sda rw\n2 1 0:1 / / rw - nfs a:/ rw\n")
                     .contain("/srv"));
}

TEST(LocalMounts, ContainNothingWhereTheTableIsEmptyOrBroken)
{
    EXPECT_FALSE(LocalMounts("").contain("/srv"));
    EXPECT_FALSE(LocalMounts("22 1 8:1 / /\n\n-\nx").contain("/srv"));
}

TEST(LocalMounts, CountFileSystemsThatAProgramServesAsOthers)
{
    for (const char *type : {"ext4", "xfs", "btrfs", "zfs", "tmpfs", "overlay", "vfat"}) {
        EXPECT_TRUE(LocalMounts::isLocalType(type)) << type;
    }
    for (const char *type : {"nfs", "nfs4", "cifs", "smb3", "fuse", "fuse.sshfs", "fuseblk", "9p",
                             "ceph", "afs", "autofs", "virtiofs", "proc", ""}) {
        EXPECT_FALSE(LocalMounts::isLocalType(type)) << type;
    }
}

} // namespace Tarnwick
