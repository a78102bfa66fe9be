// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForeignExecutable.h"

#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <vector>

namespace Tarnwick {
namespace {

std::string find(std::string_view comm, const std::vector<std::string> &arguments)
{
    return ForeignExecutable::find(comm, arguments);
}

TEST(ForeignExecutable, IsTheFirstArgumentWhenThatIsAFullPath)
{
    EXPECT_EQ(find("postgres", {"/usr/lib/postgresql/15/bin/postgres", "-D", "/data"}),
              "/usr/lib/postgresql/15/bin/postgres");
}

TEST(ForeignExecutable, MayHaveABlankInItsPath)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "my server");
    EXPECT_EQ(find("my server", {program.string()}), program);
}

TEST(ForeignExecutable, IsTheFirstWordOfATitleThatBeginsWithTheCommandName)
{
    EXPECT_EQ(find("redis-server", {"/usr/bin/redis-server 127.0.0.1:6379"}),
              "/usr/bin/redis-server");
}

TEST(ForeignExecutable, IsLookedForInTheStandardFolders)
{
    EXPECT_EQ(find("env", {"env: some title"}).substr(0, 5), "/usr/");
    EXPECT_EQ(find("MainThread", {"env", "x"}), find("env", {"env"}));
}

TEST(ForeignExecutable, IsNoWordOfATitleThatDoesNotBeginWithTheCommandName)
{
    EXPECT_EQ(find("no-such-program", {"/usr/bin/env is not it"}), "");
    EXPECT_EQ(find("no-such-program", {"no-such-program: /usr/bin/env"}), "");
}

TEST(ForeignExecutable, IsUnknownWithoutACommandLine)
{
    EXPECT_EQ(find("kworker/0:1", {}), "");
}

} // namespace
} // namespace Tarnwick
