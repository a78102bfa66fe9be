// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/NetworkNamespaces.h"

#include "Helper/linux/ProcFs.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using Clock = NetworkNamespaces::Clock;

TEST(NetworkNamespacesTest, ReadsTheListenersOfATable)
{
    const std::vector<NetworkNamespaces::Listener> found = NetworkNamespaces::parseTable(
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  "
        "timeout inode\n"
        "   0: 020011AC:1538 00000000:0000 0A 00000000:00000000 00:00000000 00000000   999        "
        "0 4711 1 0000000000000000 100 0 0 10 0\n"
        "   1: 020011AC:1538 010011AC:D431 01 00000000:00000000 00:00000000 00000000   999        "
        "0 4712 1 0000000000000000 20 4 30 10 -1\n"
        "   2: 00000000:0050 00000000:0000 0A 0000\n"
        "not a line");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].socket.port, 5432);
    EXPECT_EQ(found[0].socket.uid, 999U);
    EXPECT_EQ(found[0].socket.inode, 4711U);
    EXPECT_EQ(found[0].address, "020011AC");
}

TEST(NetworkNamespacesTest, ReadsLocalAddressesOfRoutes)
{
    const char *const routes = "Main:\n"
                               "  +-- 0.0.0.0/0 3 0 5\n"
                               "     |-- 0.0.0.0\n"
                               "        /0 universe UNICAST\n"
                               "     +-- 172.17.0.0/16 2 0 2\n"
                               "        |-- 172.17.0.0\n"
                               "           /16 link UNICAST\n"
                               "        |-- 172.17.0.2\n"
                               "           /32 host LOCAL\n"
                               "        |-- 172.17.255.255\n"
                               "           /32 link BROADCAST\n";
    EXPECT_TRUE(NetworkNamespaces::isLocal(routes, "172.17.0.2"));
    EXPECT_FALSE(NetworkNamespaces::isLocal(routes, "172.17.0.20"));
    EXPECT_FALSE(NetworkNamespaces::isLocal(routes, "172.17.255.255"));
    EXPECT_FALSE(NetworkNamespaces::isLocal(routes, "172.17.0.0"));
    EXPECT_FALSE(NetworkNamespaces::isLocal({}, "172.17.0.2"));
}

TEST(NetworkNamespacesTest, ReadsTheNamespaceThatIsMountedAtAFile)
{
    const char *const mounts =
        "27 1 254:1 / / rw,relatime shared:1 - ext4 /dev/vda1 rw\n"
        "901 27 0:4 net:[4026532345] /run/user/1000/netns/netns-1 rw shared:3 - nsfs nsfs rw\n"
        "902 27 0:4 mnt:[4026532346] /run/user/1000/ns/mnt rw - nsfs nsfs rw\n";
    EXPECT_EQ(NetworkNamespaces::mountedAt(mounts, "/run/user/1000/netns/netns-1"), 4026532345U);
    EXPECT_EQ(NetworkNamespaces::mountedAt(mounts, "/run/user/1000/ns/mnt"), std::nullopt);
    EXPECT_EQ(NetworkNamespaces::mountedAt(mounts, "/"), std::nullopt);
    EXPECT_EQ(NetworkNamespaces::mountedAt("", "/"), std::nullopt);
}

TEST(NetworkNamespacesTest, TellsProcessesInOtherNamespacesFromThoseInOurs)
{
    Puppet other;
    if (!other.enterNetwork("10.255.255.1")) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    const FileDescriptor root = ProcFs::openRoot();
    NetworkNamespaces namespaces(root.get(), Clock::now() + std::chrono::seconds(30));
    const auto own = namespaces.of(::getpid());
    const auto foreign = namespaces.of(other.pid());
    ASSERT_TRUE(own);
    ASSERT_TRUE(foreign);
    EXPECT_TRUE(namespaces.isOwn(*own));
    EXPECT_FALSE(namespaces.isOwn(*foreign));
    EXPECT_TRUE(namespaces.processes(*own).empty());
    EXPECT_EQ(namespaces.processes(*foreign), (std::vector<pid_t>{other.pid()}));
    const auto with = namespaces.withAddress("10.255.255.1");
    EXPECT_NE(std::find(with.begin(), with.end(), *foreign), with.end());
    EXPECT_FALSE(namespaces.isCut());
}

TEST(NetworkNamespacesTest, FindsV6AddressesAndListenersThere)
{
    Puppet other;
    if (!other.enterNetwork("10.255.255.2")) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    const int port = other.listen().port;
    const FileDescriptor root = ProcFs::openRoot();
    NetworkNamespaces namespaces(root.get(), Clock::now() + std::chrono::seconds(30));
    const auto foreign = namespaces.of(other.pid());
    ASSERT_TRUE(foreign);
    ASSERT_EQ(namespaces.listeners(*foreign).size(), 1U);
    EXPECT_EQ(namespaces.listeners(*foreign).front().socket.port, port);
    if (std::filesystem::exists("/proc/net/if_inet6")) {
        const auto with = namespaces.withAddress("::1");
        EXPECT_NE(std::find(with.begin(), with.end(), *foreign), with.end());
    }
    EXPECT_TRUE(namespaces.withAddress("no address").empty());
}

TEST(NetworkNamespacesTest, ReadsNoMorePastItsDeadline)
{
    const FileDescriptor root = ProcFs::openRoot();
    NetworkNamespaces namespaces(root.get(), Clock::now() - std::chrono::seconds(1));
    const std::size_t processes = ProcFs::processes(root.get()).size();
    static_cast<void>(namespaces.others());
    EXPECT_EQ(namespaces.isCut(), processes >= 64);
}

} // namespace
} // namespace Tarnwick
