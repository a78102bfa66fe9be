// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/GroupAttribution.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

constexpr uid_t socketUser = 33;
const ListeningSocket socketOfPort3000{
    .inode = 1, .port = 3000, .uid = socketUser, .cookie = 1, .controlGroup = 1};

GroupMember member(pid_t pid, const char *comm, std::uint64_t start)
{
    GroupMember made;
    made.pid = pid;
    made.stat.comm = comm;
    made.stat.state = 'S';
    made.stat.parent = 1;
    made.stat.startTicks = start;
    made.commandLine = comm;
    made.users = {0, 0, 0, 0};
    return made;
}

std::optional<pid_t> choose(std::vector<GroupMember> members)
{
    return GroupAttribution::choose(std::move(members), socketOfPort3000);
}

std::optional<pid_t> chooseAmongStrangers(const std::vector<GroupMember> &possible)
{
    return GroupAttribution::chooseAmongStrangers(possible, socketOfPort3000);
}

TEST(GroupAttribution, TakesTheOneProcessOfAGroup)
{
    EXPECT_EQ(choose({member(10, "server", 5)}), 10);
    EXPECT_EQ(choose({}), std::nullopt);
}

TEST(GroupAttribution, DropsWhoCannotBeIt)
{
    GroupMember searched = member(10, "searched", 1);
    searched.readable = true;
    GroupMember thread = member(11, "kworker", 1);
    thread.stat.flags = 0x00200000;
    GroupMember zombie = member(12, "ended", 1);
    zombie.stat.state = 'Z';
    EXPECT_EQ(choose({searched, thread, zombie, member(13, "server", 5)}), 13);
    EXPECT_EQ(choose({searched, thread, zombie}), std::nullopt);
}

TEST(GroupAttribution, TakesNoShellForTheServerThatItRuns)
{
    GroupMember server = member(11, "server", 6);
    server.stat.parent = 10;
    EXPECT_EQ(choose({member(10, "sh", 5), server}), 11);
    EXPECT_EQ(choose({member(10, "bash", 5)}), 10) << "unless there is nobody else";
}

TEST(GroupAttribution, PrefersWhoNamesThePort)
{
    GroupMember named = member(12, "server", 9);
    named.commandLine = std::string("server\0--port=3000\0", 19);
    EXPECT_EQ(choose({member(10, "server", 1), member(11, "server", 2), named}), 12);
}

TEST(GroupAttribution, PrefersWhoIsOfTheSocketsUser)
{
    GroupMember ofUser = member(11, "server", 9);
    ofUser.users = {0, socketUser, 0, 0};
    EXPECT_EQ(choose({member(10, "other", 1), ofUser}), 11);
}

TEST(GroupAttribution, PrefersTheRootOfTheProcessTree)
{
    GroupMember worker = member(11, "server", 5);
    worker.stat.parent = 10;
    GroupMember below = member(12, "server", 5);
    below.stat.parent = 11;
    EXPECT_EQ(choose({below, worker, member(10, "server", 5)}), 10);
}

TEST(GroupAttribution, PrefersTheEarliestOfDifferentPrograms)
{
    EXPECT_EQ(choose({member(12, "sidecar", 9), member(10, "server", 5)}), 10);
}

TEST(GroupAttribution, TellsNobodyAmongProcessesOfOneProgram)
{
    EXPECT_EQ(choose({member(10, "server", 5), member(11, "server", 6), member(12, "other", 7)}),
              std::nullopt);
}

TEST(GroupAttribution, TellsNobodyAmongProcessesThatStartedTogether)
{
    EXPECT_EQ(choose({member(10, "one", 5), member(11, "two", 5)}), std::nullopt);
}

TEST(GroupAttribution, TakesNoCommandForTheServerThatItWasToldToRun)
{
    GroupMember wrapper = member(10, "timeout", 5);
    wrapper.commandLine = std::string("timeout\00060\0server\0--port=3000\0", 30);
    GroupMember server = member(11, "server", 5);
    server.stat.parent = 10;
    server.commandLine = std::string("server\0--port=3000\0", 19);
    EXPECT_EQ(choose({wrapper, server}), 11);
    server.stat.parent = 1;
    EXPECT_EQ(choose({wrapper, server}), std::nullopt) << "another one's command line is no sign";
}

TEST(GroupAttribution, TellsOnlyTheOnePossibleProcessWhereStrangersLiveTogether)
{
    GroupMember named = member(11, "server", 9);
    named.users = {0, socketUser, 0, 0};
    named.commandLine = "server :3000";
    EXPECT_EQ(chooseAmongStrangers({named}), 11);
    EXPECT_EQ(chooseAmongStrangers({}), std::nullopt);
    EXPECT_EQ(chooseAmongStrangers({named, member(12, "other", 10)}), std::nullopt);
    GroupMember silent = named;
    silent.commandLine = "server";
    EXPECT_EQ(chooseAmongStrangers({silent}), std::nullopt) << "it does not name the port";
    named.users = {0, 0, 0, 0};
    EXPECT_EQ(chooseAmongStrangers({named}), std::nullopt) << "it is of another user";
}

TEST(GroupAttribution, FindsAPortOnlyAsANumberOfItsOwn)
{
    for (const char *line :
         {"server 80", "server :80", "-p80", "0.0.0.0:80", "80", "--port=80,443"}) {
        EXPECT_TRUE(GroupAttribution::namesPort(line, 80)) << line;
    }
    for (const char *line : {"server 8080", "180", "10.0.0.80", "80.1", "server", "", "v1.80"}) {
        EXPECT_FALSE(GroupAttribution::namesPort(line, 80)) << line;
    }
}

} // namespace
} // namespace Tarnwick
