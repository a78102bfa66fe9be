// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/InventoryFixture.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <set>
#include <tuple>

#include <sys/stat.h>

namespace Tarnwick {
namespace {

/// Who owns a socket that several processes hold.
using SharedSocketTest = InventoryFixture;
using Family = Puppet::Family;

TEST_F(SharedSocketTest, BelongsToTheMasterOfAPreForkingServer)
{
    Puppet master;
    const int port = master.listen().port;
    EXPECT_EQ(owner(port), master.pid());
    Puppet first = master.fork();
    Puppet second = master.fork();
    Puppet below = first.fork();
    EXPECT_EQ(owner(port), master.pid());
}

TEST_F(SharedSocketTest, BelongsToTheMasterThatKeepsItUnderAnotherNumber)
{
    Puppet master;
    const int port = master.listen(Family::V4, 4).port;
    Puppet worker = master.fork();
    master.duplicate(4, 120);
    master.close(4);
    EXPECT_EQ(owner(port), master.pid());
}

TEST_F(SharedSocketTest, PassesToTheOldestWorkerWhenTheMasterEnds)
{
    Puppet master;
    const int port = master.listen().port;
    Puppet oldest = master.fork();
    Puppet second = master.fork();
    Puppet third = master.fork();
    EXPECT_EQ(owner(port), master.pid());
    master.end();
    EXPECT_EQ(owner(port), oldest.pid());
    oldest.end();
    EXPECT_EQ(owner(port), second.pid());
}

TEST_F(SharedSocketTest, PassesToTheWorkerWhenTheMasterClosesIt)
{
    Puppet master;
    const Puppet::Listener listener = master.listen();
    Puppet worker = master.fork();
    EXPECT_EQ(owner(listener.port), master.pid());
    master.close(listener.descriptor);
    EXPECT_EQ(owner(listener.port), worker.pid());
}

TEST_F(SharedSocketTest, KeepsItsIdentityWhoeverOwnsIt)
{
    Puppet master;
    const int port = master.listen().port;
    const int other = master.listen().port;
    Puppet worker = master.fork();
    const auto identity = [this](int wanted) {
        const auto found = std::get<ScanResult>(m_inventory.scan({.records = true, .owners = {}}));
        EXPECT_EQ(found.sockets.size(), found.records.size());
        const auto record =
            std::find_if(found.records.begin(), found.records.end(),
                         [wanted](const RawPortInfo &one) { return one.port == wanted; });
        return found.sockets.at(static_cast<std::size_t>(record - found.records.begin()));
    };
    const std::uint64_t before = identity(port);
    EXPECT_NE(identity(other), before);
    master.end();
    EXPECT_EQ(identity(port), before);
}

TEST_F(SharedSocketTest, BelongsToTheServerAndNotToAnOrphanThatInheritedIt)
{
    Puppet server;
    static_cast<void>(list(m_inventory));
    const int port = server.listen().port;
    Puppet between = server.fork();
    Puppet orphan = between.fork();
    orphan.startSession();
    between.end();
    EXPECT_EQ(owner(port), server.pid());
}

TEST_F(SharedSocketTest, BelongsToAnOldServerAndNotToADaemonThatInheritedIt)
{
    for (const int number : {5, 40}) {
        Puppet server;
        server.openFiles(1);
        static_cast<void>(list(m_inventory));
        static_cast<void>(list(m_inventory));
        // As many descriptors as before, and no tie to the daemon but the socket.
        server.close(3);
        const int port = server.listen(Family::V4, number).port;
        Puppet between = server.fork();
        between.startSession();
        Puppet daemon = between.fork();
        daemon.startSession();
        between.end();
        EXPECT_EQ(only(list(m_inventory), port).pid, server.pid());
    }
}

TEST_F(SharedSocketTest, BelongsToAParentThatWasHandedItByItsChild)
{
    Puppet parent;
    Puppet child = parent.fork();
    const Puppet::Listener listener = child.listen(Family::V4, 5);
    child.pass(listener.descriptor, parent, 30);
    EXPECT_EQ(owner(listener.port), parent.pid());
}

TEST_F(SharedSocketTest, IsCheckedAgainstAllProcessesFromTimeToTime)
{
    Puppet older;
    older.openFiles(1);
    Puppet server;
    ListenerInventory audited({.source = ListenerInventory::SocketSource::Automatic,
                               .auditInterval = std::chrono::seconds(0),
                               .auditShare = 0});
    const Puppet::Listener listener = server.listen(Family::V4, 5);
    EXPECT_EQ(only(list(audited), listener.port).pid, server.pid());
    EXPECT_EQ(only(list(m_inventory), listener.port).pid, server.pid());
    // As many descriptors as before: no other listing would look at the older one.
    older.close(3);
    server.pass(listener.descriptor, older, 3);
    EXPECT_EQ(only(list(audited), listener.port).pid, older.pid());
    EXPECT_EQ(only(coldList(), listener.port).pid, older.pid());
    struct stat counted = {};
    ASSERT_EQ(::stat("/proc/self/fd", &counted), 0);
    if (counted.st_size > 0) { // before Linux 6.2 every comparison is with all processes
        EXPECT_EQ(only(list(m_inventory), listener.port).pid, server.pid())
            << "until its next audit";
    }
}

TEST_F(SharedSocketTest, SeesThatAnotherProcessReusesThePort)
{
    auto first = std::make_unique<Puppet>();
    const int port = first->listen().port;
    EXPECT_EQ(owner(port), first->pid());
    first.reset();
    Puppet second;
    second.listen(Family::V4, -1, port);
    EXPECT_EQ(owner(port), second.pid());
}

/// What may happen to a handful of servers, in any order.
class Changes
{
public:
    explicit Changes(unsigned seed)
        : m_random(seed)
    {
    }

    void makeOne()
    {
        const std::size_t kind = pick(8);
        if (m_puppets.empty() || kind == 0) {
            m_puppets.push_back(std::make_unique<Server>());
            return;
        }
        const std::size_t at = pick(m_puppets.size());
        Server &server = *m_puppets[at];
        switch (kind) {
        case 1:
        case 2:
            server.listeners.push_back(
                server.puppet.listen(pick(2) == 0 ? Family::V4 : Family::V6));
            break;
        case 3:
            if (!server.listeners.empty()) {
                server.puppet.close(server.listeners.back().descriptor);
                server.listeners.pop_back();
            }
            break;
        case 4: {
            auto child = std::make_unique<Server>(server.puppet.fork());
            child->listeners = server.listeners;
            m_puppets.push_back(std::move(child));
            break;
        }
        case 5:
            m_puppets.erase(m_puppets.begin() + static_cast<std::ptrdiff_t>(at));
            break;
        case 6:
            server.puppet.exec(Puppet::program(), {"again", std::to_string(pick(100))});
            break;
        default:
            if (!server.listeners.empty()) {
                Puppet::Listener &listener = server.listeners.front();
                const int moved = 20 + static_cast<int>(pick(150));
                const bool taken = std::any_of(
                    server.listeners.begin(), server.listeners.end(),
                    [moved](const Puppet::Listener &other) { return other.descriptor == moved; });
                if (!taken) {
                    server.puppet.duplicate(listener.descriptor, moved);
                    server.puppet.close(listener.descriptor);
                    listener.descriptor = moved;
                }
            }
        }
    }

    [[nodiscard]] std::size_t pick(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
    }

    /// The ports that somebody listens on now.
    [[nodiscard]] std::set<int> ports() const
    {
        std::set<int> found;
        for (const auto &server : m_puppets) {
            for (const Puppet::Listener &listener : server->listeners) {
                found.insert(listener.port);
            }
        }
        return found;
    }

    [[nodiscard]] std::set<pid_t> servers() const
    {
        std::set<pid_t> found;
        for (const auto &server : m_puppets) {
            found.insert(server->puppet.pid());
        }
        return found;
    }

private:
    struct Server
    {
        Server() = default;
        explicit Server(Puppet forked)
            : puppet(std::move(forked))
        {
        }
        Puppet puppet;
        std::vector<Puppet::Listener> listeners;
    };

    std::mt19937 m_random;
    std::vector<std::unique_ptr<Server>> m_puppets;
};

/// The records of the test's own listeners, without the memory, which changes from moment to
/// moment.
std::vector<RawPortInfo> comparable(const std::vector<RawPortInfo> &records, const Changes &changes)
{
    const std::set<int> ports = changes.ports();
    const std::set<pid_t> servers = changes.servers();
    std::vector<RawPortInfo> chosen;
    for (const RawPortInfo &record : records) {
        // Others of this machine may listen on the same port at another address.
        if (ports.contains(static_cast<int>(record.port)) &&
            servers.contains(static_cast<pid_t>(record.pid))) {
            chosen.push_back(record);
            chosen.back().memoryBytes = 0;
        }
    }
    std::stable_sort(chosen.begin(), chosen.end(), [](const auto &left, const auto &right) {
        return std::tuple(left.port, left.pid) < std::tuple(right.port, right.pid);
    });
    return chosen;
}

TEST_F(SharedSocketTest, IsListedTheSameWarmAndColdAfterAnySequenceOfChanges)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        Changes changes(seed);
        ListenerInventory warm;
        for (int step = 0; step < 60; ++step) {
            for (std::size_t change = changes.pick(3) + 1; change > 0; --change) {
                changes.makeOne();
            }
            const Records remembered = comparable(list(warm), changes);
            const Records fresh = comparable(coldList(), changes);
            ASSERT_GE(fresh.size(), changes.ports().size());
            ASSERT_EQ(remembered.size(), fresh.size()) << "seed " << seed << ", step " << step;
            for (std::size_t at = 0; at < fresh.size(); ++at) {
                ASSERT_EQ(remembered[at], fresh[at])
                    << "seed " << seed << ", step " << step << ", port " << fresh[at].port << ": "
                    << remembered[at].pid << " " << remembered[at].processName << ", cold "
                    << fresh[at].pid << " " << fresh[at].processName;
            }
        }
    }
}

} // namespace
} // namespace Tarnwick
