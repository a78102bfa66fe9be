// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/RecordBounds.h"
#include "Shared/JsonText.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/HostileServer.h"

#include <sys/resource.h>

namespace Tarnwick {
namespace {

/// What other processes may not do to a listing by being many, or by having much to tell.
using InventoryBoundsTest = InventoryFixture;

/// Lowers the number of descriptors that this process may have, for the length of a test.
class DescriptorsLeft
{
public:
    explicit DescriptorsLeft(rlim_t count)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit lowered = {.rlim_cur = count, .rlim_max = m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~DescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    DescriptorsLeft(const DescriptorsLeft &) = delete;
    DescriptorsLeft &operator=(const DescriptorsLeft &) = delete;

private:
    rlimit m_before{};
};

TEST_F(InventoryBoundsTest, CutsACommandLineOfAMebibyteAtAnArgument)
{
    std::vector<std::string> arguments{"server"};
    for (int count = 0; count < 1024; ++count) {
        arguments.emplace_back(1023, 'x');
    }
    Puppet server(Puppet::program(), arguments);
    const int port = server.listen().port;
    const RawPortInfo record = only(list(m_inventory), port);
    // 64 KiB hold the first argument of 7 bytes and 63 of 1,024, each with its NUL.
    ASSERT_EQ(record.arguments.size(), 64U);
    EXPECT_EQ(record.arguments.back(), std::string(1023, 'x'));
}

TEST_F(InventoryBoundsTest, BoundsTheArgumentsOfAWholeListing)
{
    constexpr int sockets = 400;
    constexpr std::size_t mebibyte = 1024UL * 1024;
    std::vector<std::string> arguments{"greedy"};
    arguments.resize(1000, std::string(60, 'x'));
    Puppet greedy(Puppet::program(), arguments);
    std::vector<int> ports;
    ports.reserve(sockets);
    for (int count = 0; count < sockets; ++count) {
        ports.push_back(greedy.listen().port);
    }
    Puppet modest(Puppet::program(), {"modest", "--with", "arguments"});
    const int port = modest.listen().port;

    const Records records = list(m_inventory);
    std::size_t size = 0;
    for (const RawPortInfo &record : records) {
        for (const std::string &argument : record.arguments) {
            size += argument.size() + sizeof(std::string);
        }
    }
    EXPECT_LE(size, 16 * mebibyte);
    EXPECT_GT(size, 4 * mebibyte);
    for (const int greedyPort : ports) {
        const RawPortInfo record = only(records, greedyPort);
        ASSERT_GT(record.arguments.size(), 100U);
        ASSERT_EQ(record.arguments.front(), "greedy");
    }
    EXPECT_EQ(only(records, port).arguments,
              (std::vector<std::string>{"modest", "--with", "arguments"}));
}

TEST_F(InventoryBoundsTest, BoundsNamesAndPathsThatAProcessChooses)
{
    Puppet server = hostileServer();
    const int port = server.listen().port;
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_TRUE(record.processName.starts_with(hostileName + std::string(20, '\x01')));
    EXPECT_TRUE(record.processName.ends_with("…"));
    EXPECT_LE(JsonText::size(record.processName), RecordBounds::maxNameSize);
    EXPECT_EQ(record.arguments.size(), 0U) << "the first one is too long";
}

TEST_F(InventoryBoundsTest, NamesMoreOwnersThanItMayKeepFilesOf)
{
    std::vector<Puppet> servers(40);
    std::vector<int> ports;
    ports.reserve(servers.size());
    for (Puppet &server : servers) {
        ports.push_back(server.listen().port);
    }
    // Each server costs this process two descriptors, and the inventory six.
    const DescriptorsLeft few(180);
    ListenerInventory inventory;
    for (int listing = 0; listing < 3; ++listing) {
        const Records records = list(inventory);
        for (std::size_t at = 0; at < servers.size(); ++at) {
            EXPECT_EQ(only(records, ports[at]).pid, servers[at].pid());
        }
    }
}

TEST_F(InventoryBoundsTest, MakesRoomWhenDescriptorsRunOut)
{
    std::vector<Puppet> servers(20);
    for (Puppet &server : servers) {
        server.listen();
    }
    static_cast<void>(list(m_inventory));
    Puppet newcomer;
    const int port = newcomer.listen().port;
    // Whatever has these numbers stays open, and nothing new fits.
    const DescriptorsLeft none(100);
    EXPECT_EQ(only(list(m_inventory), port).pid, newcomer.pid());
}

TEST_F(InventoryBoundsTest, KeepsNoMoreFilesOpenThanItMay)
{
    std::vector<Puppet> servers;
    std::vector<int> ports;
    for (int count = 0; count < 8; ++count) {
        servers.emplace_back();
        ports.push_back(servers.back().listen().port);
    }
    const DescriptorsLeft few(140);
    ListenerInventory inventory;
    for (int listing = 0; listing < 3; ++listing) {
        const Records records = list(inventory);
        for (std::size_t at = 0; at < servers.size(); ++at) {
            EXPECT_EQ(only(records, ports[at]).pid, servers[at].pid());
        }
    }
}

} // namespace
} // namespace Tarnwick
