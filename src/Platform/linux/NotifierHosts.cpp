// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/NotifierHosts.h"

#include <QDBusMessage>
#include <QDBusVariant>

namespace Tarnwick {

namespace {

// Of the freedesktop.org StatusNotifierItem specification; hosts and items use KDE's prefix.
const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

} // namespace

NotifierHosts::NotifierHosts()
    : m_bus(watcher, {.joined = [this](const std::shared_ptr<BusLink> &link) { joined(*link); },
                      .lost = [this] { settle(false); },
                      .ownerChanged = [this] { ask(); },
                      .signalled = [this] { ask(); }})
{
}

void NotifierHosts::joined(BusLink &link)
{
    for (const char *signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        link.observeSignal(watcherPath, watcher, QLatin1String(signal));
    }
    ask();
}

void NotifierHosts::ask()
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcher, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    question << watcher << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    BusCall::sendToOwner(
        m_bus.link()->connection(), question, this,
        [this, link = m_bus.link()](const QDBusMessage &reply) {
            if (link == m_bus.link()) {
                const auto value = reply.arguments().value(0).value<QDBusVariant>();
                settle(reply.type() == QDBusMessage::ReplyMessage && value.variant().toBool());
            }
        },
        {.timeout = BusCall::defaultTimeout});
}

void NotifierHosts::settle(bool present)
{
    if (m_present != present) {
        m_present = present;
        Q_EMIT changed();
    }
}

} // namespace Tarnwick
