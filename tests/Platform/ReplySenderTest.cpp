// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/ReplySender.h"

#include "tests/Support/PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

namespace Tarnwick {
namespace {

const QString busDaemon = QStringLiteral("org.freedesktop.DBus");

class ReplySenderTest : public ::testing::Test
{
protected:
    ~ReplySenderTest() override
    {
        m_connection = QDBusConnection(QString());
        QDBusConnection::disconnectFromBus(QStringLiteral("reply-sender"));
    }

    [[nodiscard]] QDBusMessage askBusDaemon(const char *method)
    {
        return m_connection.call(QDBusMessage::createMethodCall(
            busDaemon, QStringLiteral("/org/freedesktop/DBus"), busDaemon, QLatin1String(method)));
    }

    PrivateBus m_bus;
    QDBusConnection m_connection = QDBusConnection::connectToBus(
        QString::fromStdString(m_bus.address()), QStringLiteral("reply-sender"));
};

TEST_F(ReplySenderTest, IsWhoeverSentAReply)
{
    const QDBusMessage reply = askBusDaemon("GetId");
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(replySender(reply), busDaemon);
}

TEST_F(ReplySenderTest, IsWhoeverSentAnError)
{
    const QDBusMessage error = askBusDaemon("NoSuchMethod");
    ASSERT_EQ(error.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(replySender(error), busDaemon);
}

TEST_F(ReplySenderTest, IsNobodyForAnErrorOfTheLibrary)
{
    m_bus.stop();
    const QDBusMessage error = askBusDaemon("GetId");
    ASSERT_EQ(error.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(replySender(error), QString());
}

} // namespace
} // namespace Tarnwick
