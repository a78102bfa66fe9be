// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusSingleInstance.h"

#include "tests/Link/ReplyForger.h"
#include "tests/Platform/OtherInstance.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/UnresponsiveBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

using namespace Tarnwick;
using Claim = SingleInstance::Claim;
using Start = SingleInstance::Start;
using Manner = OtherInstance::Manner;

namespace {

/// For a bus that never answers.
constexpr std::chrono::milliseconds shortTimeout{50};

class BusSingleInstanceTest : public testing::Test
{
protected:
    /// What a start finds, and nothing when that does not come out.
    std::optional<Claim> claim(Start start) { return claim(m_instance, start); }

    static std::optional<Claim> claim(BusSingleInstance &instance, Start start)
    {
        std::optional<Claim> found;
        instance.claim(start, [&found](Claim claim) { found = claim; });
        static_cast<void>(await([&found] { return found.has_value(); }));
        return found;
    }

    /// Whether anybody comes to have the name on the bus.
    [[nodiscard]] bool isNameTaken() const
    {
        const QString observer = QStringLiteral("observer");
        const QDBusConnection bus =
            QDBusConnection::connectToBus(QString::fromStdString(m_bus.address()), observer);
        const bool isTaken = bus.isConnected() && bus.interface()->isServiceRegistered(
                                                      QStringLiteral("com.velmora.tarnwick"));
        QDBusConnection::disconnectFromBus(observer);
        return isTaken;
    }

    PrivateBus m_bus;
    ScopedEnvironment m_address{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()};
    BusSingleInstance m_instance;
};

} // namespace

TEST_F(BusSingleInstanceTest, IsFirstWhereNobodyElseIs)
{
    EXPECT_EQ(claim(Start::ByUser), Claim::First);
}

TEST_F(BusSingleInstanceTest, CannotKnowWithoutABus)
{
    m_bus.stop();
    EXPECT_EQ(claim(Start::ByUser), Claim::NoSessionBus);
}

TEST_F(BusSingleInstanceTest, CannotKnowWhereTheBusLetsItConnectAndDoesNotAnswer)
{
    const UnresponsiveBus bus(UnresponsiveBus::Manner::Silent);
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
    BusSingleInstance instance(shortTimeout);
    EXPECT_EQ(claim(instance, Start::ByUser), Claim::BusUnresponsive);
}

TEST_F(BusSingleInstanceTest, CannotKnowWhereTheBusDoesNotLetItConnect)
{
    const UnresponsiveBus bus(UnresponsiveBus::Manner::Full);
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
    BusSingleInstance instance(shortTimeout);
    EXPECT_EQ(claim(instance, Start::ByUser), Claim::BusUnresponsive);
}

TEST_F(BusSingleInstanceTest, HasItsNameWhenTheBusAnswersAtLast)
{
    m_bus.pause();
    BusSingleInstance instance(shortTimeout);
    EXPECT_EQ(claim(instance, Start::ByUser), Claim::BusUnresponsive);
    m_bus.resume();
    EXPECT_TRUE(awaitOutside([this] { return isNameTaken(); }));
}

TEST_F(BusSingleInstanceTest, HasAnotherOneOpenItsPanelForTheUser)
{
    const OtherInstance other(m_bus.address(), Manner::Answers);
    EXPECT_EQ(claim(Start::ByUser), Claim::OtherRuns);
    EXPECT_EQ(other.calls(), 1);
}

TEST_F(BusSingleInstanceTest, LeavesAnotherOneAloneWhenTheDesktopStartsIt)
{
    const OtherInstance other(m_bus.address(), Manner::Hangs);
    EXPECT_EQ(claim(Start::ByDesktop), Claim::OtherRuns);
    EXPECT_EQ(other.calls(), 0);
}

TEST_F(BusSingleInstanceTest, IsFirstWhenTheOtherEndsInsteadOfAnswering)
{
    const OtherInstance other(m_bus.address(), Manner::Ends);
    EXPECT_EQ(claim(Start::ByUser), Claim::First);
    EXPECT_EQ(other.calls(), 1);
}

TEST_F(BusSingleInstanceTest, SaysThatTheOtherIsSilentWhenItStaysAndDoesNotAnswer)
{
    const OtherInstance other(m_bus.address(), Manner::Hangs);
    EXPECT_EQ(claim(Start::ByUser), Claim::OtherSilent);
    EXPECT_EQ(other.calls(), 1);
}

TEST_F(BusSingleInstanceTest, BelievesNobodyElseThatTheOtherHasOpenedItsPanel)
{
    const OtherInstance other(m_bus.address(), Manner::Hangs);
    ReplyForger forger(m_bus.address());
    forger.replyTo("Activate", [](sd_bus_message *) {});
    EXPECT_EQ(claim(Start::ByUser), Claim::OtherSilent);
    EXPECT_GT(forger.forged(), 0);
}

TEST_F(BusSingleInstanceTest, HasItsNameAgainWhenTheBusIsBack)
{
    ASSERT_EQ(claim(Start::ByUser), Claim::First);
    m_bus.stop();
    m_bus.start();
    EXPECT_TRUE(awaitOutside([this] { return isNameTaken(); }));
}

TEST_F(BusSingleInstanceTest, HasItsNameWhenTheBusComesAtLast)
{
    m_bus.stop();
    ASSERT_EQ(claim(Start::ByUser), Claim::NoSessionBus);
    m_bus.start();
    EXPECT_TRUE(awaitOutside([this] { return isNameTaken(); }));
}

TEST_F(BusSingleInstanceTest, GivesWayToAnotherOneThatWasThereBeforeTheBusWasBackForIt)
{
    bool isReplaced = false;
    m_instance.setReplacementHandler([&isReplaced] { isReplaced = true; });
    ASSERT_EQ(claim(Start::ByUser), Claim::First);
    m_bus.stop();
    m_bus.start();
    const OtherInstance other(m_bus.address(), Manner::Answers);
    EXPECT_TRUE(await([&isReplaced] { return isReplaced; }));
    EXPECT_EQ(other.calls(), 0);
}
