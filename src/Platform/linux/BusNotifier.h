// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Notifier.h"
#include "Platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <memory>

namespace Tarnwick {

/// Notifications through the session bus, as the Desktop Notifications Specification 1.2 has them.
/// A service that does not answer in time counts as none. The connection lasts as long as the user
/// may still react to the notification.
class BusNotifier : public QObject, public Notifier
{
    Q_OBJECT

public:
    /// @p replyTimeout: for each call of the service.
    explicit BusNotifier(std::chrono::milliseconds replyTimeout);
    ~BusNotifier() override;

    void show(const Notification &notification, Handlers handlers) override;
    void withdraw() override;

private:
    using Handler = std::function<void()>;
    using Replied = std::function<void(const QDBusMessage &reply)>;

    void connected(std::shared_ptr<BusLink> link);
    /// @p repliedTooLate gets the reply that comes after withdraw().
    void call(const QString &method, const QVariantList &arguments, Replied replied,
              Replied repliedTooLate = {});
    void notify(bool hasActions);
    void received(const QDBusMessage &signal);
    void closed(unsigned reason);
    void end(const Handler &handler);

    int m_timeout; ///< milliseconds
    Notification m_notification;
    Handlers m_handlers;
    std::shared_ptr<BusLink> m_link; ///< null while nothing is shown
    QString m_owner;                 ///< the service's own name on the bus
    unsigned m_id = 0;               ///< the notification's; 0 before the service has given it one
    unsigned m_shows = 0;            ///< how often show() and withdraw() were called
};

} // namespace Tarnwick
