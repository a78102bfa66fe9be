// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperCall.h"

#include "Platform/linux/BusCall.h"
#include "Platform/linux/BusNames.h"
#include "Platform/linux/SystemError.h"
#include "Shared/HelperProtocol.h"

#include <QCoreApplication>
#include <QDBusVariant>
#include <QLatin1String>

#include <optional>
#include <utility>

namespace Tarnwick::HelperCall {

namespace {

/// A request to the helper, with the method's name and argument in the interface's description.
QDBusMessage request(const QString &owner, const char *method, const QVariantList &arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        owner, BusNames::helperPath(), BusNames::helperInterface(), QLatin1String(method));
    call.setArguments(arguments);
    return call;
}

bool isError(const QDBusMessage &reply)
{
    return reply.type() != QDBusMessage::ReplyMessage;
}

bool isRaisedByBus(const QDBusMessage &error)
{
    return error.errorName().startsWith(QLatin1String("org.freedesktop.DBus.Error."));
}

HelperError helperError(const QDBusMessage &error)
{
    const std::string name = error.errorName().toStdString();
    const std::string description = error.errorMessage().toStdString();
    if (const std::optional<int> code = SystemError::codeForName(name)) {
        return {.description = description, .domain = "posix", .code = *code};
    }
    return {.description = description, .domain = name, .code = 0};
}

/// Sends @p call and keeps the link until it is answered. What waits does not belong to the link,
/// for it may be the link's last owner.
void send(const std::shared_ptr<BusLink> &link, const QDBusMessage &call, BusCall::Replied replied,
          BusCall::AfterForgery afterForgery)
{
    const auto keepingLink = [link, replied = std::move(replied)](const QDBusMessage &reply) {
        replied(reply);
    };
    BusCall::send(link->connection(), call, QCoreApplication::instance(), keepingLink,
                  {.timeout = BusLink::noTimeout, .afterForgery = afterForgery});
}

} // namespace

void listListeningPorts(const std::shared_ptr<BusLink> &link, const QString &owner,
                        HelperProxy::ListReply reply, HelperConnection::ErrorHandler failed)
{
    const auto replied = [reply = std::move(reply),
                          failed = std::move(failed)](const QDBusMessage &answer) {
        // What somebody else makes of the listing is no listing: the request was lost.
        if (isError(answer) &&
            (isRaisedByBus(answer) || answer.errorName() == BusCall::forgedReply)) {
            failed(answer.errorMessage().toStdString());
        } else if (isError(answer)) {
            reply(std::nullopt, helperError(answer));
        } else if (answer.signature() == QLatin1String("ay") &&
                   !answer.arguments().at(0).toByteArray().isEmpty()) {
            reply(answer.arguments().at(0).toByteArray(), std::nullopt);
        } else {
            // A reply that holds something else, or nothing, holds no data.
            reply(std::nullopt, std::nullopt);
        }
    };
    send(link, request(owner, "ListListeningPorts"), replied, BusCall::AfterForgery::CallAgain);
}

void killProcess(const std::shared_ptr<BusLink> &link, const QString &owner, std::int32_t pid,
                 HelperProxy::KillReply reply, HelperConnection::ErrorHandler failed)
{
    const auto replied = [reply = std::move(reply),
                          failed = std::move(failed)](const QDBusMessage &answer) {
        if (isError(answer) && isRaisedByBus(answer)) {
            failed(answer.errorMessage().toStdString());
        } else if (isError(answer)) {
            reply(0, helperError(answer));
        } else if (answer.signature() == QLatin1String("i")) {
            reply(answer.arguments().at(0).toInt(), std::nullopt);
        } else {
            failed("the helper answered a kill with the signature \"" +
                   answer.signature().toStdString() + "\"");
        }
    };
    // A kill is asked for once, whatever the answer. What became of the process after a forged one
    // is not known here: it may have ended for another reason.
    send(link, request(owner, "KillProcess", {pid}), replied, BusCall::AfterForgery::Fail);
}

void version(const std::shared_ptr<BusLink> &link, const QString &owner,
             std::function<void(const std::string &version)> reply)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        owner, BusNames::helperPath(), BusNames::propertiesInterface, QStringLiteral("Get"));
    call << BusNames::helperInterface() << QStringLiteral("Version");
    const auto replied = [reply = std::move(reply)](const QDBusMessage &answer) {
        const auto value = answer.arguments().value(0).value<QDBusVariant>();
        reply(isError(answer) ? std::string() : value.variant().toString().toStdString());
    };
    send(link, call, replied, BusCall::AfterForgery::CallAgain);
}

} // namespace Tarnwick::HelperCall
