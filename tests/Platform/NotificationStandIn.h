// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <string>
#include <vector>

namespace Tarnwick {

/// The notification service of a desktop on a bus of the test's own. It belongs to the test's own
/// process, with a connection of its own.
class NotificationStandIn : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit NotificationStandIn(const std::string &busAddress);
    ~NotificationStandIn() override;

    /// Leaves the bus, as a daemon that crashes.
    void leave();

    /// Sends a signal about the last notification, from @p sender instead of the service if given.
    void send(const QString &signal, const QVariantList &values) const;
    void sendFrom(QDBusConnection &sender, const QString &signal, const QVariantList &values) const;

    QStringList capabilities{QStringLiteral("actions"), QStringLiteral("body")};
    QString silentMethod;                    ///< gets no answer
    QString refusedMethod;                   ///< is answered with an error
    std::vector<QVariantList> notifications; ///< the arguments of each call of Notify
    std::vector<unsigned> closed;            ///< the identifiers given to CloseNotification

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }

private:
    QDBusConnection m_bus;
    unsigned m_lastId = 40;
};

} // namespace Tarnwick
