// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/MappedFile.h"

#include <gtest/gtest.h>

#include <string_view>

namespace Tarnwick {
namespace {

constexpr std::string_view maps =
    "400000-401000 rw-p 00000000 00:00 0 \n"
    "55d0c0a00000-55d0c0a05000 r--p 00000000 fd:01 4711                      /opt/my server\n"
    "55d0c0a05000-55d0c0a06000 r-xp 00005000 fd:01 4711                      /opt/my server\n"
    "7f0000000000-7f0000001000 r--p 00000000 103:02 12                       /lib/libc.so.6\n"
    "7f0000001000-7f0000002000 r--p 00000000 fd:01 13                        /tmp/a (deleted)\n"
    "7ffd00000000-7ffd00021000 rw-p 00000000 00:00 0                         [stack]\n";

TEST(MappedFile, IsFoundByItsWholePath)
{
    EXPECT_EQ(MappedFile::find(maps, "/opt/my server"), "fd:01 4711");
    EXPECT_EQ(MappedFile::find(maps, "/lib/libc.so.6"), "103:02 12");
    EXPECT_EQ(MappedFile::find(maps, "/tmp/a (deleted)"), "fd:01 13");
    EXPECT_EQ(MappedFile::find(maps, "/libc.so.6"), "");
    EXPECT_EQ(MappedFile::find(maps, "server"), "");
    EXPECT_EQ(MappedFile::find(maps, "/opt/my"), "");
    EXPECT_EQ(MappedFile::find(maps, ""), "");
}

TEST(MappedFile, IsNoneInATextThatIsNoMap)
{
    for (const std::string_view text : {"/a", " /a", "   /a", "    /a", "x x x x/a", "\n\n/a\n"}) {
        EXPECT_EQ(MappedFile::find(text, "/a"), "") << text;
    }
    EXPECT_EQ(MappedFile::find("", "/a"), "");
}

} // namespace
} // namespace Tarnwick
