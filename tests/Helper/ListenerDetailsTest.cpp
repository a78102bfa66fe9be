// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/FileDescriptor.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/OwnNetwork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

/// A listening socket of this process, at any port.
struct OwnSocket
{
    FileDescriptor descriptor;
    int port = 0;
};

OwnSocket listenAt(const char *text, bool isV6Only = false)
{
    const bool isV6 = std::strchr(text, ':') != nullptr;
    sockaddr_storage address{};
    socklen_t size = isV6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    OwnSocket own{
        FileDescriptor(::socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), 0};
    const int only = isV6Only ? 1 : 0;
    if (isV6) {
        auto &v6 = reinterpret_cast<sockaddr_in6 &>(address);
        v6.sin6_family = AF_INET6;
        EXPECT_EQ(inet_pton(AF_INET6, text, &v6.sin6_addr), 1);
        EXPECT_EQ(setsockopt(own.descriptor.get(), IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof(only)),
                  0);
    } else {
        auto &v4 = reinterpret_cast<sockaddr_in &>(address);
        v4.sin_family = AF_INET;
        EXPECT_EQ(inet_pton(AF_INET, text, &v4.sin_addr), 1);
    }
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    EXPECT_EQ(::bind(own.descriptor.get(), generic, size), 0) << std::strerror(errno);
    EXPECT_EQ(::listen(own.descriptor.get(), 1), 0);
    EXPECT_EQ(::getsockname(own.descriptor.get(), generic, &size), 0);
    own.port = ntohs(isV6 ? reinterpret_cast<sockaddr_in6 &>(address).sin6_port
                          : reinterpret_cast<sockaddr_in &>(address).sin_port);
    return own;
}

class ListenerDetailsTest : public ::testing::Test
{
protected:
    /// The details of the only socket on @p port.
    [[nodiscard]] static ListenerDetails of(ListenerInventory &inventory, int port)
    {
        Scan scan = inventory.scan({.records = true, .owners = {}, .details = true});
        auto &found = std::get<ScanResult>(scan);
        EXPECT_EQ(found.details.size(), found.records.size());
        std::vector<ListenerDetails> details;
        for (std::size_t index = 0; index < found.records.size(); ++index) {
            EXPECT_EQ(found.details[index].socket, found.sockets[index]);
            if (found.records[index].port == port) {
                details.push_back(found.details[index]);
            }
        }
        EXPECT_EQ(details.size(), 1U) << "sockets on port " << port;
        return details.size() == 1 ? details.front() : ListenerDetails{};
    }

    ListenerInventory m_inventory;
};

TEST_F(ListenerDetailsTest, HaveTheAddressOfEachSocket)
{
    ListenerInventory tables({.source = ListenerInventory::SocketSource::ProcNetTcp});
    for (const char *text : {"127.0.0.1", "127.0.0.42", "::1", "::ffff:127.0.0.1"}) {
        const OwnSocket own = listenAt(text);
        for (ListenerInventory *inventory : {&m_inventory, &tables}) {
            const ListenerDetails details = of(*inventory, own.port);
            EXPECT_EQ(details.address.text(), text);
            EXPECT_EQ(details.interface, "");
            EXPECT_FALSE(details.isExposed());
        }
    }
}

TEST_F(ListenerDetailsTest, TellWhetherASocketTakesConnectionsOverBothFamilies)
{
    if (!enterOwnNetwork()) {
        GTEST_SKIP() << "this user may not make a network namespace";
    }
    const OwnSocket both = listenAt("::");
    const OwnSocket one = listenAt("::", true);
    const OwnSocket v4 = listenAt("0.0.0.0");
    EXPECT_FALSE(of(m_inventory, both.port).address.isV6Only);
    EXPECT_TRUE(of(m_inventory, one.port).address.isV6Only);
    EXPECT_TRUE(of(m_inventory, both.port).isExposed());
    EXPECT_TRUE(of(m_inventory, v4.port).isExposed());
    EXPECT_EQ(of(m_inventory, v4.port).address.text(), "0.0.0.0");
}

TEST_F(ListenerDetailsTest, NameTheInterfaceThatASocketIsBoundTo)
{
    if (!enterOwnNetwork()) {
        GTEST_SKIP() << "this user may not make a network namespace";
    }
    const OwnSocket own = listenAt("0.0.0.0");
    constexpr char name[] = "lo";
    ASSERT_EQ(setsockopt(own.descriptor.get(), SOL_SOCKET, SO_BINDTODEVICE, name, sizeof(name)), 0)
        << std::strerror(errno);
    const ListenerDetails details = of(m_inventory, own.port);
    EXPECT_EQ(details.interface, "lo");
    EXPECT_FALSE(details.isExposed()) << "other machines do not reach the loopback interface";
}

TEST_F(ListenerDetailsTest, HaveTheUserWhoMadeTheSocket)
{
    const OwnSocket own = listenAt("127.0.0.1");
    const ListenerDetails details = of(m_inventory, own.port);
    EXPECT_EQ(details.userId, ::getuid());
    if (::getuid() == 0) {
        EXPECT_EQ(details.user, "root");
    }
}

TEST_F(ListenerDetailsTest, NameTheUnitThatTheOwnerRunsIn)
{
    const std::optional<ControlGroup> manager = ControlGroup::make("tarnwick-test.slice");
    if (!manager) {
        GTEST_SKIP() << "this user may not make a control group";
    }
    const auto service = manager->makeBelow("shop.service");
    ASSERT_TRUE(service);
    Puppet server;
    ASSERT_TRUE(service->take(server.pid()));
    const ListenerDetails details = of(m_inventory, server.listen().port);
    EXPECT_EQ(details.unit, "shop.service");
    EXPECT_FALSE(details.isUserUnit);
}

TEST_F(ListenerDetailsTest, TellTheUnitOfAUserFromOneOfTheSystem)
{
    const std::optional<ControlGroup> slice = ControlGroup::make("user.slice");
    if (!slice) {
        GTEST_SKIP() << "this user may not make a control group";
    }
    const auto manager = slice->makeBelow("user@1000.service");
    ASSERT_TRUE(manager);
    const auto service = manager->makeBelow("shop.service");
    ASSERT_TRUE(service);
    Puppet server;
    ASSERT_TRUE(service->take(server.pid()));
    const ListenerDetails details = of(m_inventory, server.listen().port);
    EXPECT_EQ(details.unit, "shop.service");
    EXPECT_TRUE(details.isUserUnit);
}

TEST_F(ListenerDetailsTest, NameTheSocketUnitOfWhatAUsersManagerListensFor)
{
    const std::optional<ControlGroup> slice = ControlGroup::make("user.slice");
    const auto manager =
        slice ? slice->makeBelow("user@" + std::to_string(::geteuid()) + ".service") : std::nullopt;
    const auto scope = manager ? manager->makeBelow("init.scope") : std::nullopt;
    const char *const home = ::getenv("HOME");
    Puppet server;
    if (!scope || home == nullptr || !scope->take(server.pid())) {
        GTEST_SKIP() << "this user may not make a control group";
    }
    const int port = server.listen().port;
    const std::filesystem::path folder = std::filesystem::path(home) / ".config/systemd/user";
    const std::string unit = "tarnwick-test-" + std::to_string(port);
    std::filesystem::create_directories(folder);
    std::ofstream(folder / (unit + ".socket"))
        << "[Socket]\nListenStream=127.0.0.1:" << port << '\n';
    const ListenerDetails details = of(m_inventory, port);
    std::filesystem::remove(folder / (unit + ".socket"));
    EXPECT_EQ(details.socketUnit, unit + ".socket");
    EXPECT_EQ(details.unit, unit + ".service");
    EXPECT_TRUE(details.isUserUnit);
}

/// What a visit passes on of one port, copied.
struct Visited
{
    RawPortInfo record;
    ListenerDetails details;
    std::size_t owner = 0;
};

std::vector<Visited> visit(ListenerInventory &inventory, int port)
{
    std::vector<Visited> found;
    std::int64_t last = 0;
    const auto error = inventory.visit([&](std::span<const VisitedListener> listeners) {
        ASSERT_FALSE(listeners.empty());
        EXPECT_GT(listeners.front().record->port, last) << "each port once, in order";
        last = listeners.front().record->port;
        for (const VisitedListener &listener : listeners) {
            EXPECT_EQ(listener.record->port, last);
            if (last == port) {
                found.push_back({*listener.record, *listener.details, listener.owner});
            }
        }
    });
    EXPECT_FALSE(error);
    return found;
}

TEST_F(ListenerDetailsTest, AreVisitedWithTheRecordsOfAListing)
{
    Puppet server;
    const int first = server.listen().port;
    const int second = server.listen().port;
    const Listing listing = ListenerInventory().list();
    const auto *const listed = std::get_if<std::vector<RawPortInfo>>(&listing);
    ASSERT_NE(listed, nullptr);
    const std::vector<Visited> one = visit(m_inventory, first);
    const std::vector<Visited> other = visit(m_inventory, second);
    ASSERT_EQ(one.size(), 1U);
    ASSERT_EQ(other.size(), 1U);
    for (const Visited &visited : {one.front(), other.front()}) {
        const auto isVisited = [&visited](RawPortInfo record) {
            record.memoryBytes = visited.record.memoryBytes; // which may change meanwhile
            return record == visited.record;
        };
        EXPECT_EQ(std::count_if(listed->begin(), listed->end(), isVisited), 1);
    }
    EXPECT_TRUE(one.front().details.address.isLoopback());
    EXPECT_NE(one.front().owner, 0U);
}

TEST_F(ListenerDetailsTest, NumberTheOwnersOfAVisit)
{
    Puppet server;
    const int first = server.listen().port;
    const int second = server.listen().port;
    Puppet another;
    const int third = another.listen().port;
    std::map<std::int64_t, std::size_t> owners;
    const auto error = m_inventory.visit([&owners](std::span<const VisitedListener> listeners) {
        owners[listeners.front().record->port] = listeners.front().owner;
    });
    EXPECT_FALSE(error);
    EXPECT_EQ(owners.at(first), owners.at(second));
    EXPECT_NE(owners.at(first), owners.at(third));
}

TEST_F(ListenerDetailsTest, ReportTheOwnersThatAVisitFound)
{
    Puppet server;
    const int port = server.listen().port;
    EXPECT_EQ(visit(m_inventory, port).size(), 1U);
    EXPECT_NE(m_inventory.report()->find(server.pid()), nullptr);
}

TEST_F(ListenerDetailsTest, AreLeftOutWhereTheyAreNotWanted)
{
    const OwnSocket own = listenAt("127.0.0.1");
    const auto found =
        std::get<ScanResult>(m_inventory.scan({.records = true, .owners = {}, .details = false}));
    EXPECT_FALSE(found.records.empty());
    EXPECT_TRUE(found.details.empty());
}

} // namespace
} // namespace Tarnwick
