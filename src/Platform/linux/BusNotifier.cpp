// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusNotifier.h"

#include "Platform/linux/BusCall.h"
#include "Platform/linux/ReplySender.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>
#include <QVariantMap>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString applicationName = QStringLiteral("Tarnwick");
const QString applicationId = QStringLiteral("com.velmora.tarnwick");

/// The action of a click on the notification itself.
const QString defaultAction = QStringLiteral("default");
const QString showAction = QStringLiteral("show");

// Of NotificationClosed.
constexpr unsigned dismissedByUser = 2;
constexpr unsigned closedByCall = 3;

constexpr int serversDuration = -1;
constexpr uchar normalUrgency = 1;

constexpr std::chrono::milliseconds usualTimeout{5000};

QDBusMessage makeCall(const QString &destination, const QString &method,
                      const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(destination, path, service, method);
    call.setArguments(arguments);
    return call;
}

/// Removes a notification of the service with the unique name @p owner.
void close(const std::shared_ptr<BusLink> &link, const QString &owner, unsigned id)
{
    // The service gets it only while the connection is there: what waits for the reply keeps it.
    BusCall::send(link->connection(), makeCall(owner, QStringLiteral("CloseNotification"), {id}),
                  QCoreApplication::instance(), [link](const QDBusMessage & /*reply*/) {},
                  {.timeout = static_cast<int>(usualTimeout.count())});
}

} // namespace

std::unique_ptr<Notifier> Notifier::ofThisDesktop()
{
    return std::make_unique<BusNotifier>(usualTimeout);
}

BusNotifier::BusNotifier(std::chrono::milliseconds replyTimeout)
    : m_timeout(static_cast<int>(replyTimeout.count()))
{
}

BusNotifier::~BusNotifier() = default;

void BusNotifier::show(const Notification &notification, Handlers handlers)
{
    withdraw();
    m_notification = notification;
    m_handlers = std::move(handlers);
    const auto opened = [self = QPointer(this), current = m_shows](std::shared_ptr<BusLink> link,
                                                                   const QString & /*failure*/) {
        if (self && self->m_shows == current) {
            self->connected(std::move(link));
        }
    };
    BusLink::open(opened);
}

void BusNotifier::connected(std::shared_ptr<BusLink> link)
{
    if (!link) {
        end(m_handlers.failed);
        return;
    }
    m_link = std::move(link);
    m_link->observe(service,
                    {.ownerChanged =
                         [this](const QString &from, const QString &) {
                             if (!m_owner.isEmpty() && from == m_owner) {
                                 end(m_id == 0 ? m_handlers.failed : Handler());
                             }
                         },
                     .ended = [this] { end(m_id == 0 ? m_handlers.failed : Handler()); },
                     .signalled = [this](const QDBusMessage &signal) { received(signal); }});
    for (const char *signal : {"ActionInvoked", "ActivationToken", "NotificationClosed"}) {
        m_link->observeSignal(path, service, QLatin1String(signal));
    }
    call(QStringLiteral("GetCapabilities"), {}, [this](const QDBusMessage &reply) {
        m_owner = replySender(reply);
        notify(reply.arguments().value(0).toStringList().contains(QStringLiteral("actions")));
    });
}

void BusNotifier::call(const QString &method, const QVariantList &arguments, Replied replied,
                       Replied repliedTooLate)
{
    const auto finished = [this, link = m_link, current = m_shows, replied = std::move(replied),
                           repliedTooLate = std::move(repliedTooLate)](const QDBusMessage &reply) {
        const bool isError = reply.type() != QDBusMessage::ReplyMessage;
        if (current != m_shows) {
            if (repliedTooLate && !isError) {
                repliedTooLate(reply);
            }
        } else if (isError) {
            end(m_handlers.failed);
        } else {
            replied(reply);
        }
    };
    // A second Notify would be a second notification.
    const BusCall::Options options{.timeout = m_timeout,
                                   .afterForgery = BusCall::AfterForgery::Fail};
    if (m_owner.isEmpty()) {
        BusCall::sendToOwner(m_link->connection(), makeCall(service, method, arguments), this,
                             finished, options);
    } else {
        BusCall::send(m_link->connection(), makeCall(m_owner, method, arguments), this, finished,
                      options);
    }
}

void BusNotifier::notify(bool hasActions)
{
    constexpr unsigned replacesNone = 0;
    const QStringList actions = hasActions
                                    ? QStringList{defaultAction, m_notification.activateLabel,
                                                  showAction, m_notification.activateLabel}
                                    : QStringList();
    const QVariantMap hints{{QStringLiteral("desktop-entry"), applicationId},
                            {QStringLiteral("urgency"), QVariant::fromValue(normalUrgency)}};
    call(
        QStringLiteral("Notify"),
        {applicationName, replacesNone, applicationId, m_notification.title,
         hasActions ? QString() : m_notification.text, actions, hints, serversDuration},
        [this](const QDBusMessage &reply) { m_id = reply.arguments().value(0).toUInt(); },
        [link = m_link](const QDBusMessage &reply) {
            close(link, replySender(reply), reply.arguments().value(0).toUInt());
        });
}

void BusNotifier::received(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    const bool isOurs = m_id != 0 && signal.service() == m_owner && // anybody may send the like
                        arguments.value(0).toUInt() == m_id;
    if (!isOurs) {
        return;
    }
    if (signal.member() == QLatin1String("ActionInvoked")) {
        end(m_handlers.activated);
    } else if (signal.member() == QLatin1String("ActivationToken")) {
        // With it a Wayland compositor lets the next window of ours come forward.
        qputenv("XDG_ACTIVATION_TOKEN", arguments.value(1).toString().toUtf8());
    } else if (signal.member() == QLatin1String("NotificationClosed")) {
        closed(arguments.value(1).toUInt());
    }
}

void BusNotifier::closed(unsigned reason)
{
    if (reason == dismissedByUser) {
        end(m_handlers.dismissed);
    } else if (reason == closedByCall) {
        end(nullptr);
    }
    // One that has expired may still be in the desktop's list, where the user can activate it.
}

void BusNotifier::end(const Handler &handler)
{
    ++m_shows;
    m_link.reset();
    m_owner.clear();
    m_id = 0;
    const Handler called = handler; // a copy: it may be one of those that go, and show the next
    m_handlers = {};
    if (called) {
        called();
    }
}

void BusNotifier::withdraw()
{
    if (m_link && m_id != 0) {
        close(m_link, m_owner, m_id);
    }
    end(nullptr);
}

} // namespace Tarnwick
