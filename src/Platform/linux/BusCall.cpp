// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusCall.h"

#include "Platform/linux/BusNames.h"
#include "Platform/linux/ReplySender.h"

#include <QDBusPendingCallWatcher>
#include <QObject>

#include <memory>
#include <utility>

namespace Tarnwick::BusCall {

namespace {

struct Call
{
    QDBusConnection connection;
    QDBusMessage message;
    QObject *context; ///< the parent of the watcher, which so never outlives it
    Replied replied;
    Options options;
    int forgedReplies = 0;
};

/// The bus daemon answers for a process that has left, and the library, whose errors have no
/// sender, for a bus that is gone.
bool isFrom(const QString &callee, const QDBusMessage &reply)
{
    const QString sender = replySender(reply);
    return sender == callee || (reply.type() == QDBusMessage::ErrorMessage &&
                                (sender.isEmpty() || sender == BusNames::busService));
}

void start(const std::shared_ptr<Call> &call);

void finish(const std::shared_ptr<Call> &call, const QDBusMessage &reply)
{
    const QString callee = call->message.service();
    if (isFrom(callee, reply)) {
        call->replied(reply);
    } else if (call->options.afterForgery == AfterForgery::CallAgain &&
               ++call->forgedReplies <= maxForgedReplies) {
        start(call);
    } else {
        call->replied(QDBusMessage::createError(
            forgedReply,
            QStringLiteral("a reply came from %1 instead of %2").arg(replySender(reply), callee)));
    }
}

void start(const std::shared_ptr<Call> &call)
{
    auto *const watcher = new QDBusPendingCallWatcher(
        call->connection.asyncCall(call->message, call->options.timeout), call->context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [call](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         // The callback may destroy the context, and with it the watcher.
                         const std::shared_ptr<Call> kept = call;
                         finish(kept, finished->reply());
                     });
}

QDBusMessage addressed(const QDBusMessage &call, const QString &owner)
{
    QDBusMessage copy =
        QDBusMessage::createMethodCall(owner, call.path(), call.interface(), call.member());
    copy.setArguments(call.arguments());
    return copy;
}

/// A call to a well-known name while its owner is looked up.
struct OwnerCall
{
    QDBusConnection connection;
    QDBusMessage message;
    QObject *context;
    Replied replied;
    Options options;

    void lookUp(bool mayStart) const
    {
        const auto found = [self = *this, mayStart](const QDBusMessage &reply) {
            if (const QString owner = text(reply); !owner.isEmpty()) {
                send(self.connection, addressed(self.message, owner), self.context, self.replied,
                     self.options);
            } else if (mayStart && reply.errorName() == BusNames::nameHasNoOwner) {
                self.startService();
            } else {
                self.replied(reply);
            }
        };
        send(connection, toBusDaemon(QStringLiteral("GetNameOwner"), {message.service()}), context,
             found, {.timeout = options.timeout});
    }

    void startService() const
    {
        const auto started = [self = *this](const QDBusMessage &reply) {
            if (reply.type() == QDBusMessage::ReplyMessage) {
                self.lookUp(false);
            } else {
                self.replied(reply);
            }
        };
        send(connection, toBusDaemon(QStringLiteral("StartServiceByName"), {message.service(), 0U}),
             context, started, {.timeout = options.timeout});
    }
};

} // namespace

void send(const QDBusConnection &connection, const QDBusMessage &call, QObject *context,
          Replied replied, Options options)
{
    start(std::make_shared<Call>(Call{connection, call, context, std::move(replied), options}));
}

void sendToOwner(const QDBusConnection &connection, const QDBusMessage &call, QObject *context,
                 const Replied &replied, Options options)
{
    OwnerCall{connection, call, context, replied, options}.lookUp(call.autoStartService());
}

QDBusMessage toBusDaemon(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(BusNames::busService, BusNames::busPath,
                                                       BusNames::busService, method);
    call.setArguments(arguments);
    return call;
}

QString text(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString()
                                                      : QString();
}

} // namespace Tarnwick::BusCall
