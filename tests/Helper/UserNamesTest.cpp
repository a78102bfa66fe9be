// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/UserNames.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

TEST(UserNamesTest, FindsTheNameOfANumber)
{
    constexpr std::string_view file = "root:x:0:0:root:/root:/bin/bash\n"
                                      "# a remark\n"
                                      "broken\n"
                                      "short:x\n"
                                      "ada:x:1000:1000::/home/ada:/bin/sh\n"
                                      "last::10:";
    EXPECT_EQ(UserNames::find(file, 0), "root");
    EXPECT_EQ(UserNames::find(file, 1000), "ada");
    EXPECT_EQ(UserNames::find(file, 10), "last");
    EXPECT_EQ(UserNames::find(file, 100), "");
    EXPECT_EQ(UserNames::find("", 0), "");
}

TEST(UserNamesTest, GivesTheNumberOfAUserWithoutAName)
{
    UserNames users;
    EXPECT_EQ(users.name(0), "root");
    EXPECT_EQ(users.name(4'000'000'123U), "4000000123");
}

} // namespace
} // namespace Tarnwick
