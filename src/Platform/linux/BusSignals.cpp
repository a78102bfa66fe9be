// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusSignals.h"

#include "Core/NeverDestroyed.h"
#include "Platform/linux/BusNames.h"

#include <QDBusConnection>

#include <utility>

namespace Tarnwick {

BusSignals &BusSignals::shared()
{
    static NeverDestroyed<BusSignals> signals;
    return *signals;
}

void BusSignals::observe(QDBusConnection &connection, const QString &name, Handler handler)
{
    m_handlers[connection.name()] = std::move(handler);
    connection.connect(QString(), BusNames::localPath, BusNames::localInterface,
                       BusNames::disconnected, this, SLOT(received(QDBusMessage)));
    receiveOwner(connection, name);
}

void BusSignals::receiveOwner(QDBusConnection &connection, const QString &name)
{
    connection.connect(QString(), BusNames::busPath, BusNames::busService,
                       BusNames::nameOwnerChanged, {name}, QString(), this,
                       SLOT(received(QDBusMessage)));
}

void BusSignals::receive(QDBusConnection &connection, const QString &path, const QString &interface,
                         const QString &member)
{
    // For a sender by name Qt would ask the bus, and wait.
    connection.connect(QString(), path, interface, member, this, SLOT(received(QDBusMessage)));
}

void BusSignals::forget(const QDBusConnection &connection)
{
    m_handlers.erase(connection.name());
}

void BusSignals::received(const QDBusMessage &signal)
{
    const auto place = m_handlers.find(connection().name());
    if (place != m_handlers.end()) {
        const Handler handler = place->second; // which may forget itself
        handler(signal);
    }
}

} // namespace Tarnwick
