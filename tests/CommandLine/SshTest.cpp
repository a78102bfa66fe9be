// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Ssh.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using ::testing::Contains;
using ::testing::Not;

using Words = std::vector<std::string>;

TEST(Ssh, TakesHostsAsSshDoes)
{
    for (const char *host : {"shop", "shop.example", "ada@shop.example", "127.0.0.1", "::1",
                             "ssh://ada@shop.example:2222"}) {
        EXPECT_TRUE(Ssh::isHost(host)) << host;
    }
}

TEST(Ssh, TakesNothingForAHostThatMayBeAnOption)
{
    for (const char *host :
         {"", "-oProxyCommand=touch /tmp/x", "--", "shop example", "shop\n", "\x7f"}) {
        EXPECT_FALSE(Ssh::isHost(host)) << host;
    }
}

TEST(Ssh, EndsItsOptionsBeforeTheHost)
{
    const Words command = Ssh::command("shop", Words{"list"}, Ssh::Mode::Silent);
    ASSERT_GE(command.size(), 3U);
    EXPECT_EQ(command.front(), "ssh");
    EXPECT_EQ(Words(command.end() - 3, command.end()), (Words{"--", "shop", "tarnwickctl 'list'"}));
}

TEST(Ssh, QuotesTheArgumentsForTheShellThere)
{
    const Words command =
        Ssh::command("shop", Words{"list", "--search", "it's $(touch x); `y`"}, Ssh::Mode::Silent);
    EXPECT_EQ(command.back(), "tarnwickctl 'list' '--search' 'it'\\''s $(touch x); `y`'");
}

TEST(Ssh, AsksForNothingWhereNobodyAnswers)
{
    EXPECT_THAT(Ssh::command("shop", {}, Ssh::Mode::Silent), Contains("BatchMode=yes"));
    EXPECT_THAT(Ssh::command("shop", {}, Ssh::Mode::Asking), Not(Contains("BatchMode=yes")));
}

TEST(Ssh, GivesTheProgramATerminalWhereItIsToAsk)
{
    EXPECT_THAT(Ssh::command("shop", {}, Ssh::Mode::Terminal), Contains("-t"));
    EXPECT_THAT(Ssh::command("shop", {}, Ssh::Mode::Asking), Contains("-T"));
}

} // namespace
} // namespace Tarnwick
