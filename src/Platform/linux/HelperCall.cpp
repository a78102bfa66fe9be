// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperCall.h"

#include "HelperInterface.h"
#include "Platform/linux/BusNames.h"
#include "Platform/linux/SystemError.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>

#include <optional>
#include <utility>

namespace Tarnwick::HelperCall {

namespace {

/// Our side of the interface. Addressed by unique name, so that Qt has no owner to ask for.
std::unique_ptr<ComVelmoraTarnwickHelperInterface> proxy(BusLink &link, const QString &owner)
{
    auto made = std::make_unique<ComVelmoraTarnwickHelperInterface>(owner, BusNames::helperPath(),
                                                                    link.connection());
    made->setTimeout(BusLink::noTimeout);
    return made;
}

bool isRaisedByBus(const QDBusError &error)
{
    return error.name().startsWith(QLatin1String("org.freedesktop.DBus.Error."));
}

HelperError helperError(const QDBusError &error)
{
    const std::string name = error.name().toStdString();
    const std::string description = error.message().toStdString();
    if (const std::optional<int> code = SystemError::codeForName(name)) {
        return {.description = description, .domain = "posix", .code = *code};
    }
    return {.description = description, .domain = name, .code = 0};
}

/// Calls @p answered with the finished call, on the main thread. What waits does not belong to the
/// link, for it may be the link's last owner.
template<typename Answered>
void whenFinished(const std::shared_ptr<BusLink> &link, const QDBusPendingCall &call,
                  Answered answered)
{
    auto *watcher = new QDBusPendingCallWatcher(call, QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [link, answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answered(*finished);
                     });
}

} // namespace

void listListeningPorts(const std::shared_ptr<BusLink> &link, const QString &owner,
                        HelperProxy::ListReply reply, HelperConnection::ErrorHandler failed)
{
    whenFinished(link, proxy(*link, owner)->ListListeningPorts(),
                 [reply = std::move(reply),
                  failed = std::move(failed)](const QDBusPendingReply<QByteArray> &answer) {
                     const QDBusError error = answer.error();
                     const bool isOther = error.type() == QDBusError::InvalidSignature;
                     if (error.isValid() && !isOther && isRaisedByBus(error)) {
                         failed(error.message().toStdString());
                     } else if (error.isValid() && !isOther) {
                         reply(std::nullopt, helperError(error));
                     } else if (QByteArray payload = answer.value(); !payload.isEmpty()) {
                         reply(std::move(payload), std::nullopt);
                     } else {
                         // A reply that holds something else, or nothing, holds no data.
                         reply(std::nullopt, std::nullopt);
                     }
                 });
}

void killProcess(const std::shared_ptr<BusLink> &link, const QString &owner, std::int32_t pid,
                 HelperProxy::KillReply reply, HelperConnection::ErrorHandler failed)
{
    whenFinished(link, proxy(*link, owner)->KillProcess(pid),
                 [reply = std::move(reply),
                  failed = std::move(failed)](const QDBusPendingReply<int> &answer) {
                     const QDBusError error = answer.error();
                     if (error.isValid() && isRaisedByBus(error)) {
                         failed(error.message().toStdString());
                     } else if (error.isValid()) {
                         reply(0, helperError(error));
                     } else {
                         reply(answer.value(), std::nullopt);
                     }
                 });
}

} // namespace Tarnwick::HelperCall
