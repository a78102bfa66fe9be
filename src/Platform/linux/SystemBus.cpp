// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/SystemBus.h"

#include "Core/MainThread.h"

#include <QCoreApplication>
#include <QString>
#include <QThreadPool>

#include <utility>

namespace Tarnwick {

namespace {

QString nextName()
{
    static unsigned count = 0;
    return QStringLiteral("tarnwick-system-%1").arg(++count);
}

/// The threads that connect.
QThreadPool &connecting()
{
    static QThreadPool pool;
    return pool;
}

/// The end of the application waits for them, since Qt's part in them ends with it.
void awaitThemAtTheEnd()
{
    static const bool isDone = [] {
        qAddPostRoutine([] { connecting().waitForDone(); });
        return true;
    }();
    static_cast<void>(isDone);
}

} // namespace

void SystemBus::open(Opened opened)
{
    awaitThemAtTheEnd();
    // Saying hello to the bus takes a round trip, and Qt waits for it.
    connecting().start([opened = std::move(opened), name = nextName()] {
        const QDBusConnection connection =
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        MainThread::post([opened, connection] { opened(std::make_shared<SystemBus>(connection)); });
    });
}

SystemBus::SystemBus(QDBusConnection connection)
    : m_connection(std::move(connection))
{
}

SystemBus::~SystemBus()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

} // namespace Tarnwick
