// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/NotifierHosts.h"

#include "Platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPointer>

#include <utility>

namespace Tarnwick {

namespace {

// Of the freedesktop.org StatusNotifierItem specification; hosts and items use KDE's prefix.
const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

} // namespace

NotifierHosts::NotifierHosts()
{
    BusLink::open([self = QPointer(this)](std::shared_ptr<BusLink> link, const QString &) {
        if (self) {
            self->opened(std::move(link));
        }
    });
}

void NotifierHosts::opened(std::shared_ptr<BusLink> link)
{
    if (!link) {
        settle(false);
        return;
    }
    m_link = std::move(link);
    m_link->watchOwner(watcher, this, SLOT(ask()));
    QDBusConnection bus = m_link->connection();
    for (const char *signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        // For the sender by that name Qt would ask the bus, and wait.
        bus.connect(QString(), watcherPath, watcher, QLatin1String(signal), this, SLOT(ask()));
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
    auto *call = new QDBusPendingCallWatcher(m_link->connection().asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
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
