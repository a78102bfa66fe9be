// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Helper/StuckMessage.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <chrono>

namespace Tarnwick {
namespace {

/// Who owns a socket that its server has handed to a process that is older.
class PassedSocketTest : public InventoryFixture
{
protected:
    /// According to an inventory that compares everything with the whole machine in each listing.
    [[nodiscard]] std::int64_t auditedOwner(int port) { return only(list(m_audited), port).pid; }

    ListenerInventory m_audited{{.source = ListenerInventory::SocketSource::Automatic,
                                 .auditInterval = std::chrono::seconds(0),
                                 .auditShare = 0}};
    /// Compares nothing with the whole machine after its first listing, and everything with the
    /// processes whose number of descriptors has changed in each listing.
    ListenerInventory m_compared{{.source = ListenerInventory::SocketSource::Automatic,
                                  .auditInterval = std::chrono::hours(24),
                                  .auditShare = 0}};
};

TEST_F(PassedSocketTest, IsNotTheMessageBusThatHasItInFlight)
{
    const PrivateBus bus;
    for (const int number : {5, 40}) {
        Puppet server;
        const Puppet::Listener listener = server.listen(Puppet::Family::V4, number);
        EXPECT_EQ(owner(listener.port), server.pid());
        const StuckMessage message(bus, server.give(listener.descriptor));
        EXPECT_EQ(owner(listener.port), server.pid()) << "descriptor " << number;
        EXPECT_EQ(auditedOwner(listener.port), server.pid()) << "descriptor " << number;
        EXPECT_NE(codeOf(InventoryFixture::listAndTerminate(m_inventory, bus.pid())),
                  KillResultCode::Terminated);
        EXPECT_EQ(codeOf(InventoryFixture::listAndTerminate(m_inventory, server.pid())),
                  KillResultCode::Terminated);
        EXPECT_EQ(owner(listener.port), bus.pid()) << "nobody else has it any more";
    }
}

TEST_F(PassedSocketTest, DoesNotEndTheMessageBusThatHasItInFlight)
{
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus");
    const PrivateBus bus;
    Puppet server;
    const Puppet::Listener listener = server.listen();
    const StuckMessage message(bus, server.give(listener.descriptor));
    server.end();
    EXPECT_EQ(owner(listener.port), bus.pid());
    EXPECT_EQ(codeOf(InventoryFixture::listAndTerminate(m_inventory, bus.pid())),
              KillResultCode::PermissionDenied);
    EXPECT_TRUE(bus.isRunning());
}

TEST_F(PassedSocketTest, PassesFromTheMessageBusToWhoeverTakesItOut)
{
    const PrivateBus bus;
    Puppet server;
    Puppet taker;
    const Puppet::Listener listener = server.listen();
    const StuckMessage message(bus, server.give(listener.descriptor));
    FileDescriptor kept = server.give(listener.descriptor);
    server.end();
    kept.reset();
    EXPECT_EQ(owner(listener.port), bus.pid());
    Puppet heir;
    const Puppet::Listener other = heir.listen();
    EXPECT_EQ(owner(other.port), heir.pid());
}

TEST_F(PassedSocketTest, BelongsToTheHolderInTheControlGroupItWasMadeIn)
{
    const auto ofKeeper = ControlGroup::make("keeper.service");
    const auto ofServer = ControlGroup::make("server.service");
    if (!ofKeeper || !ofServer) {
        GTEST_SKIP() << "no control group to be had";
    }
    for (const int number : {5, 40}) {
        Puppet keeper;
        ASSERT_TRUE(ofKeeper->take(keeper.pid()));
        Puppet server;
        ASSERT_TRUE(ofServer->take(server.pid()));
        const Puppet::Listener listener = server.listen(Puppet::Family::V4, number);
        EXPECT_EQ(owner(listener.port), server.pid());
        server.pass(listener.descriptor, keeper, 7);
        EXPECT_EQ(owner(listener.port), server.pid()) << "descriptor " << number;
        EXPECT_EQ(auditedOwner(listener.port), server.pid()) << "descriptor " << number;
        server.end();
        EXPECT_EQ(owner(listener.port), keeper.pid());
        EXPECT_EQ(auditedOwner(listener.port), keeper.pid());
    }
}

TEST_F(PassedSocketTest, PassesToAHolderInTheGroupThatComesLater)
{
    const auto ofKeeper = ControlGroup::make("outside.service");
    const auto ofServer = ControlGroup::make("inside.service");
    if (!ofKeeper || !ofServer) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server;
    Puppet other; // keeps the group in use
    ASSERT_TRUE(ofServer->take(server.pid()) && ofServer->take(other.pid()));
    Puppet keeper;
    ASSERT_TRUE(ofKeeper->take(keeper.pid()));
    const Puppet::Listener listener = server.listen();
    server.pass(listener.descriptor, keeper, 7);
    server.end();
    EXPECT_EQ(owner(listener.port), keeper.pid());
    Puppet heir = other.fork();
    keeper.pass(7, heir, 3);
    EXPECT_EQ(owner(listener.port), heir.pid());
}

TEST_F(PassedSocketTest, BelongsToTheServerHoweverFarTheSearchForAnotherSocketGoes)
{
    // In one group, and nothing tells the two apart but the order in which they are looked at.
    Puppet keeper;
    Puppet server;
    const Puppet::Listener listener = server.listen(Puppet::Family::V4, 5);
    server.pass(listener.descriptor, keeper, 40);
    EXPECT_EQ(only(coldList(), listener.port).pid, server.pid());
    Puppet far;
    const int farPort = far.listen(Puppet::Family::V4, 900).port;
    EXPECT_EQ(owner(farPort), far.pid());
    EXPECT_EQ(owner(listener.port), server.pid());
    EXPECT_EQ(auditedOwner(listener.port), server.pid());
}

TEST_F(PassedSocketTest, HasTheSameOwnerWarmAndColdWhenALaterProcessGetsALowerDescriptor)
{
    for (const int number : {20, 40}) {
        Puppet server;
        const Puppet::Listener listener = server.listen(Puppet::Family::V4, number);
        EXPECT_EQ(owner(listener.port), server.pid());
        Puppet later;
        server.pass(listener.descriptor, later, 5);
        EXPECT_EQ(owner(listener.port), later.pid()) << "descriptor " << number;
        EXPECT_EQ(auditedOwner(listener.port), later.pid());
        later.end();
        EXPECT_EQ(owner(listener.port), server.pid());
    }
}

TEST_F(PassedSocketTest, HasTheSameOwnerWarmAndColdWhenAnEarlierProcessIsHandedIt)
{
    struct Case
    {
        int ofServer;
        int ofOlder;
        bool isOlderOwner;
    };
    for (const Case &numbers :
         {Case{5, 3, true}, Case{5, 12, true}, Case{5, 20, false}, Case{20, 25, true},
          Case{20, 4, true}, Case{40, 60, true}, Case{40, 7, true}, Case{40, 700, true}}) {
        Puppet older;
        Puppet server;
        const Puppet::Listener listener = server.listen(Puppet::Family::V4, numbers.ofServer);
        EXPECT_EQ(only(list(m_compared), listener.port).pid, server.pid());
        EXPECT_EQ(only(list(m_compared), listener.port).pid, server.pid());
        server.pass(listener.descriptor, older, numbers.ofOlder);
        const pid_t expected = numbers.isOlderOwner ? older.pid() : server.pid();
        EXPECT_EQ(only(list(m_compared), listener.port).pid, expected)
            << "from " << numbers.ofServer << " to " << numbers.ofOlder;
        EXPECT_EQ(only(coldList(), listener.port).pid, expected);
        EXPECT_EQ(only(list(m_compared), listener.port).pid, expected) << "it stays so";
    }
}

TEST_F(PassedSocketTest, PassesToAHolderInTheGroupThatWasThereBefore)
{
    const auto ofKeeper = ControlGroup::make("without.service");
    const auto ofServer = ControlGroup::make("within.service");
    if (!ofKeeper || !ofServer) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server;
    Puppet heir;
    ASSERT_TRUE(ofServer->take(server.pid()) && ofServer->take(heir.pid()));
    Puppet keeper;
    ASSERT_TRUE(ofKeeper->take(keeper.pid()));
    const Puppet::Listener listener = server.listen();
    server.pass(listener.descriptor, keeper, 7);
    server.end();
    EXPECT_EQ(only(list(m_compared), listener.port).pid, keeper.pid());
    keeper.pass(7, heir, 300);
    EXPECT_EQ(only(list(m_compared), listener.port).pid, heir.pid());
}

TEST_F(PassedSocketTest, IsNotWhatItsFormerOwnerIsKilledFor)
{
    // With as many descriptors as before, nothing makes a listing compare the two.
    Puppet older;
    older.openFiles(1);
    Puppet server;
    const Puppet::Listener listener = server.listen(Puppet::Family::V4, 5);
    EXPECT_EQ(only(list(m_compared), listener.port).pid, server.pid());
    EXPECT_EQ(only(list(m_compared), listener.port).pid, server.pid());
    older.close(3);
    server.pass(listener.descriptor, older, 3);
    EXPECT_EQ(codeOf(terminate(m_compared, server.pid())), KillResultCode::PermissionDenied);
    EXPECT_FALSE(server.hasEnded());
    EXPECT_EQ(only(list(m_compared), listener.port).pid, older.pid());
    EXPECT_EQ(codeOf(terminate(m_compared, older.pid())), KillResultCode::Terminated);
    EXPECT_EQ(codeOf(listAndTerminate(m_compared, server.pid())), KillResultCode::Terminated);
}

TEST_F(PassedSocketTest, StaysWithTheServerWhenALaterProcessGetsAHigherDescriptor)
{
    Puppet server;
    const Puppet::Listener listener = server.listen(Puppet::Family::V4, 20);
    EXPECT_EQ(owner(listener.port), server.pid());
    Puppet later;
    server.pass(listener.descriptor, later, 40);
    EXPECT_EQ(owner(listener.port), server.pid());
    const Puppet child = server.fork();
    EXPECT_EQ(owner(listener.port), server.pid());
}

} // namespace
} // namespace Tarnwick
