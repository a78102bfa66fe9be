// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/OtherInstance.h"

#include <QDBusError>
#include <QDBusMessage>

#include <stdexcept>

namespace Tarnwick {

namespace {

const QString connectionName = QStringLiteral("other-instance");

} // namespace

OtherInstance::OtherInstance(const std::string &busAddress, Manner manner)
    : m_bus(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName))
    , m_manner(manner)
{
    const bool isThere =
        m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath) &&
        m_bus.registerService(QStringLiteral("com.velmora.tarnwick"));
    if (!isThere) {
        throw std::runtime_error(m_bus.lastError().message().toStdString());
    }
}

OtherInstance::~OtherInstance()
{
    leave();
}

bool OtherInstance::handleMessage(const QDBusMessage &message,
                                  const QDBusConnection & /*connection*/)
{
    ++m_calls;
    if (m_manner == Manner::Answers) {
        m_bus.send(message.createReply());
    } else if (m_manner == Manner::Ends) {
        leave();
    }
    return true;
}

void OtherInstance::leave()
{
    QDBusConnection::disconnectFromBus(connectionName);
    m_bus = QDBusConnection(QString());
}

} // namespace Tarnwick
