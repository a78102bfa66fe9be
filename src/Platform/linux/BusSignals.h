// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <functional>
#include <map>

class QDBusConnection;

namespace Tarnwick {

/// The one receiver of the signals that come over the links to the bus; it hands each to whoever
/// observes the link. It is never destroyed: when a connection breaks, Qt looks at its receivers
/// from a thread of its own, and does not care whether they end meanwhile. Main thread.
class BusSignals : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    using Handler = std::function<void(const QDBusMessage &signal)>;

    BusSignals() = default;
    [[nodiscard]] static BusSignals &shared();

    /// Has @p handler told of the bus's signals about the owner of @p name, and of the end of
    /// @p connection.
    void observe(QDBusConnection &connection, const QString &name, Handler handler);

    /// Has the handler for @p connection told of the owner of one more name.
    void receiveOwner(QDBusConnection &connection, const QString &name);

    /// Has the handler for @p connection told of one more signal, whoever sends it.
    void receive(QDBusConnection &connection, const QString &path, const QString &interface,
                 const QString &member);

    void forget(const QDBusConnection &connection);

private:
    Q_SLOT void received(const QDBusMessage &signal);

    std::map<QString, Handler> m_handlers; ///< by the connection's name
};

} // namespace Tarnwick
