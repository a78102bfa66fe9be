// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/NotificationStandIn.h"

#include <QDBusError>

#include <stdexcept>

namespace Tarnwick {

namespace {

const QString connectionName = QStringLiteral("notification-stand-in");
const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

NotificationStandIn::NotificationStandIn(const std::string &busAddress)
    : m_bus(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName))
{
    if (!m_bus.registerVirtualObject(objectPath, this) || !m_bus.registerService(service)) {
        throw std::runtime_error(m_bus.lastError().message().toStdString());
    }
}

NotificationStandIn::~NotificationStandIn()
{
    leave();
}

void NotificationStandIn::leave()
{
    QDBusConnection::disconnectFromBus(connectionName);
    m_bus = QDBusConnection(QString());
}

bool NotificationStandIn::handleMessage(const QDBusMessage &message,
                                        const QDBusConnection & /*connection*/)
{
    const QString method = message.member();
    if (method == refusedMethod) {
        m_bus.send(message.createErrorReply(QDBusError::Failed, QStringLiteral("no")));
        return true;
    }
    if (method == QLatin1String("GetCapabilities") && method != silentMethod) {
        m_bus.send(message.createReply(capabilities));
    } else if (method == QLatin1String("Notify")) {
        notifications.push_back(message.arguments());
        if (method != silentMethod) {
            m_bus.send(message.createReply(++m_lastId));
        }
    } else if (method == QLatin1String("CloseNotification")) {
        closed.push_back(message.arguments().value(0).toUInt());
        m_bus.send(message.createReply());
    }
    return true;
}

void NotificationStandIn::send(const QString &signal, const QVariantList &values) const
{
    QDBusConnection bus = m_bus;
    sendFrom(bus, signal, values);
}

void NotificationStandIn::sendFrom(QDBusConnection &sender, const QString &signal,
                                   const QVariantList &values) const
{
    QDBusMessage message = QDBusMessage::createSignal(objectPath, service, signal);
    message.setArguments(QVariantList{m_lastId} + values);
    sender.send(message);
}

} // namespace Tarnwick
