// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/EntryText.h"

#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

constexpr std::string_view home = "/Users/ann";

std::string replaced(std::string_view text)
{
    return EntryText::replacingHomePrefix(text, home);
}

std::string commandOf(std::vector<std::string> originArguments, std::string command = "/bin/tool")
{
    PortEntry entry;
    entry.command = std::move(command);
    entry.originArguments = std::move(originArguments);
    return EntryText::fullCommand(entry, home);
}

std::optional<std::string> cwdOf(std::string cwd, std::string command = "/opt/tool/bin/tool")
{
    PortEntry entry;
    entry.cwd = std::move(cwd);
    entry.command = std::move(command);
    return EntryText::displayCwd(entry, home);
}

} // namespace

TEST(HomePrefix, IsWrittenAsATilde)
{
    EXPECT_EQ(replaced("/Users/ann"), "~");
    EXPECT_EQ(replaced("/Users/ann/"), "~/");
    EXPECT_EQ(replaced("/Users/ann/dev"), "~/dev");
    EXPECT_EQ(replaced("/Users/ann/src/app"), "~/src/app");
}

TEST(HomePrefix, StaysInAnyOtherText)
{
    for (const std::string_view text : {"/Users/anna", "/Users/an", "", "/", "node", "/Users/Ann",
                                        "--root=/Users/ann", " /Users/ann", "/Users/ann:/tmp"}) {
        EXPECT_EQ(replaced(text), text);
    }
}

TEST(HomePrefix, IsReplacedOnce)
{
    EXPECT_EQ(replaced("/Users/ann/Users/ann"), "~/Users/ann");
}

TEST(HomePrefix, StaysWhenThereIsNoHome)
{
    EXPECT_EQ(EntryText::replacingHomePrefix("/Users/ann", ""), "/Users/ann");
    EXPECT_EQ(EntryText::replacingHomePrefix("", ""), "");
}

TEST(FullCommand, JoinsTheArgumentsWithBlanks)
{
    EXPECT_EQ(commandOf({"npm", "run", "dev"}), "npm run dev");
    EXPECT_EQ(commandOf({"one argument"}), "one argument");
}

TEST(FullCommand, LeavesOutEmptyArguments)
{
    EXPECT_EQ(commandOf({"", "npm", "", "", "run", ""}), "npm run");
}

TEST(FullCommand, ReplacesTheHomePrefixOfEachArgument)
{
    EXPECT_EQ(commandOf({"/Users/ann/bin/serve", "/Users/ann", "/Users/anna"}),
              "~/bin/serve ~ /Users/anna");
}

TEST(FullCommand, IsTheExecutableWhenNoArgumentRemains)
{
    EXPECT_EQ(commandOf({}), "/bin/tool");
    EXPECT_EQ(commandOf({"", ""}), "/bin/tool");
}

TEST(FullCommand, LeavesTheHomePrefixOfTheExecutable)
{
    EXPECT_EQ(commandOf({}, "/Users/ann/bin/serve"), "/Users/ann/bin/serve");
}

TEST(FullCommand, IsEmptyWhenNothingIsKnown)
{
    EXPECT_EQ(commandOf({""}, ""), "");
}

TEST(DisplayCwd, IsTheWorkingDirectory)
{
    EXPECT_EQ(cwdOf("/srv/site"), "/srv/site");
}

TEST(DisplayCwd, HasItsHomePrefixReplaced)
{
    EXPECT_EQ(cwdOf("/Users/ann"), "~");
    EXPECT_EQ(cwdOf("/Users/ann/site"), "~/site");
}

TEST(DisplayCwd, IsAbsentWhenEmptyOrTheRoot)
{
    EXPECT_EQ(cwdOf(""), std::nullopt);
    EXPECT_EQ(cwdOf("", ""), std::nullopt);
    EXPECT_EQ(cwdOf("/"), std::nullopt);
    EXPECT_EQ(cwdOf("/", "/tool"), std::nullopt);
}

TEST(DisplayCwd, IsAbsentWhenItIsTheFolderOfTheExecutable)
{
    EXPECT_EQ(cwdOf("/opt/tool/bin"), std::nullopt);
    EXPECT_EQ(cwdOf("/opt/tool/bin", "/opt/tool/bin//tool"), std::nullopt);
    EXPECT_EQ(cwdOf("/opt/tool/bin", "/opt/tool/bin/tool/"), std::nullopt);
}

TEST(DisplayCwd, IsPresentInAnyOtherFolderOfTheExecutablesPath)
{
    EXPECT_EQ(cwdOf("/opt/tool"), "/opt/tool");
    EXPECT_EQ(cwdOf("/opt/tool/bin/tool"), "/opt/tool/bin/tool");
    EXPECT_EQ(cwdOf("/opt/tool/bin/"), "/opt/tool/bin/");
}

TEST(DisplayCwd, IsPresentWhenTheExecutableIsUnknown)
{
    EXPECT_EQ(cwdOf("/srv/site", ""), "/srv/site");
    EXPECT_EQ(cwdOf("/srv/site", "tool"), "/srv/site");
    EXPECT_EQ(cwdOf("/srv/site", "///"), "/srv/site");
}
