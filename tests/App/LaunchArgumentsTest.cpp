// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/LaunchArguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Tarnwick;
using Request = LaunchArguments::Request;

namespace {

LaunchArguments parse(const std::vector<const char *> &words)
{
    return LaunchArguments::parse(words);
}

} // namespace

TEST(LaunchArguments, RunTheApplicationWhenThereAreNone)
{
    EXPECT_EQ(parse({}).request, Request::Run);
    EXPECT_FALSE(parse({}).isLoginItem);
}

TEST(LaunchArguments, KnowALoginItem)
{
    EXPECT_EQ(parse({"--login-item"}).request, Request::Run);
    EXPECT_TRUE(parse({"--login-item"}).isLoginItem);
}

TEST(LaunchArguments, KnowARestoredSessionAsALoginItem)
{
    EXPECT_EQ(parse({"-session", "1021f_17_0"}).request, Request::Run);
    EXPECT_TRUE(parse({"-session", "1021f_17_0"}).isLoginItem);
    EXPECT_EQ(parse({"--login-item", "-session", "--help"}).request, Request::Run);
    EXPECT_EQ(parse({"-session", "1021f_17_0", "more"}).refused, "more");
}

TEST(LaunchArguments, AreRefusedWhenTheSessionIsMissing)
{
    EXPECT_EQ(parse({"-session"}).request, Request::Refuse);
    EXPECT_EQ(parse({"-session"}).refused, "-session");
}

TEST(LaunchArguments, AskForHelpAndVersion)
{
    EXPECT_EQ(parse({"--help"}).request, Request::Help);
    EXPECT_EQ(parse({"-h"}).request, Request::Help);
    EXPECT_EQ(parse({"--version"}).request, Request::Version);
}

TEST(LaunchArguments, AreRefusedWithTheFirstThatNobodyKnows)
{
    for (const char *word : {"--login", "-x", "8080", "", "--login-item=1"}) {
        EXPECT_EQ(parse({"--login-item", word, "more"}).request, Request::Refuse) << word;
        EXPECT_EQ(parse({"--login-item", word, "more"}).refused, word);
    }
}

TEST(LaunchArguments, AskForHelpWhateverElseIsWrong)
{
    EXPECT_EQ(parse({"--what", "--help"}).request, Request::Help);
}

TEST(LaunchArguments, AreAllInTheHelp)
{
    const std::string help = LaunchArguments::help();
    for (const char *option : {"--login-item", "--help", "-h", "--version"}) {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}
