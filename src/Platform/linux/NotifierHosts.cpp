// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/NotifierHosts.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
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
    auto *call = new QDBusPendingCallWatcher(m_bus.link()->connection().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, link = m_bus.link()] {
        call->deleteLater();
        if (link != m_bus.link()) {
            return;
        }
        const QDBusPendingReply<QDBusVariant> reply = *call;
        settle(!reply.isError() && reply.value().variant().toBool());
    });
}

void NotifierHosts::settle(bool present)
{
    if (m_present != present) {
        m_present = present;
        Q_EMIT changed();
    }
}

} // namespace Tarnwick
