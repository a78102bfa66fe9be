// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusNotifier.h"

#include "tests/Platform/NotificationStandIn.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QString dismissed = QStringLiteral("NotificationClosed");
const QString invoked = QStringLiteral("ActionInvoked");
constexpr unsigned expired = 1;
constexpr unsigned byUser = 2;

class BusNotifierTest : public testing::Test
{
protected:
    BusNotifierTest()
    {
        bus().start();
        m_service.emplace(bus().address());
    }
    ~BusNotifierTest() override
    {
        m_service.reset();
        bus().stop();
    }

    static PrivateBus &bus()
    {
        static PrivateBus bus;
        static const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
        return bus;
    }

    void show(const QString &title = QStringLiteral("An update"))
    {
        const auto tell = [this](const char *what) {
            return [this, what] { m_told.emplace_back(what); };
        };
        m_notifier->show({.title = title,
                          .text = QStringLiteral("Look there."),
                          .activateLabel = QStringLiteral("Show")},
                         {.activated = tell("activated"),
                          .dismissed = tell("dismissed"),
                          .failed = tell("failed")});
    }
    /// Shows one: what the service sends from then on arrives after its identifier.
    void showAndAwait()
    {
        const std::size_t had = m_service->notifications.size();
        show();
        ASSERT_TRUE(await([this, had] { return m_service->notifications.size() > had; }));
    }
    /// Whether that is the first that the notifier tells, and all.
    [[nodiscard]] bool isTold(const char *what)
    {
        return await([this] { return !m_told.empty(); }) &&
               m_told == std::vector<std::string>{what};
    }

    std::optional<NotificationStandIn> m_service;
    std::optional<BusNotifier> m_notifier{patience};
    std::vector<std::string> m_told;
};

TEST_F(BusNotifierTest, ShowsANotificationWithAButton)
{
    showAndAwait();
    const QVariantList arguments = m_service->notifications.front();
    EXPECT_EQ(arguments.value(1).toUInt(), 0U);
    EXPECT_EQ(arguments.value(2).toString(), "com.velmora.tarnwick");
    EXPECT_EQ(arguments.value(3).toString(), "An update");
    EXPECT_EQ(arguments.value(4).toString(), "");
    EXPECT_EQ(arguments.value(5).toStringList(), QStringList({"default", "Show", "show", "Show"}));
    const auto hints = qdbus_cast<QVariantMap>(arguments.value(6));
    EXPECT_EQ(hints.value(QStringLiteral("desktop-entry")).toString(), "com.velmora.tarnwick");
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(BusNotifierTest, SaysWhereToLookOnADesktopWithoutButtons)
{
    m_service->capabilities = QStringList{QStringLiteral("body")};
    showAndAwait();
    EXPECT_EQ(m_service->notifications.front().value(4).toString(), "Look there.");
    EXPECT_THAT(m_service->notifications.front().value(5).toStringList(), IsEmpty());
}

TEST_F(BusNotifierTest, IsActivatedByAClickOnItOrOnItsButton)
{
    for (const char *action : {"default", "show"}) {
        m_told.clear();
        showAndAwait();
        m_service->send(invoked, {QString::fromLatin1(action)});
        EXPECT_TRUE(isTold("activated")) << action;
    }
}

TEST_F(BusNotifierTest, TellsThatTheUserHasDismissedIt)
{
    showAndAwait();
    m_service->send(dismissed, {byUser});
    EXPECT_TRUE(isTold("dismissed"));
}

TEST_F(BusNotifierTest, TakesOneThatHasExpiredForUnseenAndStillActivatesIt)
{
    showAndAwait();
    m_service->send(dismissed, {expired});
    m_service->send(invoked, {QStringLiteral("default")});
    EXPECT_TRUE(isTold("activated"));
}

TEST_F(BusNotifierTest, BelievesNobodyButTheService)
{
    showAndAwait();
    const QString name = QStringLiteral("stranger");
    QDBusConnection stranger =
        QDBusConnection::connectToBus(QString::fromStdString(bus().address()), name);
    m_service->sendFrom(stranger, dismissed, {byUser});
    // The bus has delivered that when it replies.
    stranger.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/",
                                                 "org.freedesktop.DBus", "GetId"));
    m_service->send(invoked, {QStringLiteral("default")});
    EXPECT_TRUE(isTold("activated"));
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(BusNotifierTest, FailsWhereNothingShowsNotifications)
{
    m_service->leave();
    show();
    EXPECT_TRUE(isTold("failed"));
}

TEST_F(BusNotifierTest, FailsWithoutASessionBus)
{
    m_service.reset();
    bus().stop();
    show();
    EXPECT_TRUE(isTold("failed"));
}

TEST_F(BusNotifierTest, FailsWhenTheServiceRefuses)
{
    m_service->refusedMethod = QStringLiteral("Notify");
    show();
    EXPECT_TRUE(isTold("failed"));
}

TEST_F(BusNotifierTest, FailsWhenTheServiceDoesNotAnswer)
{
    m_notifier.emplace(std::chrono::milliseconds(300));
    for (const char *method : {"GetCapabilities", "Notify"}) {
        m_told.clear();
        m_service->silentMethod = QString::fromLatin1(method);
        show();
        EXPECT_TRUE(isTold("failed")) << method;
    }
}

TEST_F(BusNotifierTest, WithdrawsItAndTellsNothingOfItAnyMore)
{
    showAndAwait();
    m_notifier->withdraw();
    EXPECT_TRUE(await([this] { return !m_service->closed.empty(); }));
    EXPECT_THAT(m_service->closed, ElementsAre(41U));
    m_service->send(dismissed, {byUser});
    showAndAwait();
    m_service->send(invoked, {QStringLiteral("default")});
    EXPECT_TRUE(isTold("activated"));
}

TEST_F(BusNotifierTest, ShowsTheNextOneInsteadOfTheOneBefore)
{
    showAndAwait();
    show(QStringLiteral("Another"));
    ASSERT_TRUE(await([this] { return m_service->notifications.size() == 2; }));
    EXPECT_TRUE(await([this] { return m_service->closed == std::vector<unsigned>{41U}; }));
    EXPECT_EQ(m_service->notifications.back().value(3).toString(), "Another");
}

TEST_F(BusNotifierTest, SurvivesTheServiceAndTheBus)
{
    showAndAwait();
    m_service->leave();
    m_service.reset();
    m_service.emplace(bus().address());
    showAndAwait();
    m_service->send(dismissed, {byUser});
    EXPECT_TRUE(isTold("dismissed"));
}

TEST_F(BusNotifierTest, MayGoWhileTheServiceIsAsked)
{
    show();
    m_notifier.emplace(patience);
    showAndAwait();
    m_service->send(invoked, {QStringLiteral("default")});
    EXPECT_TRUE(isTold("activated"));
}

} // namespace
} // namespace Tarnwick
