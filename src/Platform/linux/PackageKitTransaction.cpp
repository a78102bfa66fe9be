// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitTransaction.h"

#include "Platform/linux/PackageKitFailure.h"
#include "Platform/linux/ReplySender.h"

#include <QCoreApplication>
#include <QDBusObjectPath>

#include <map>

namespace Tarnwick {

namespace {

const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString servicePath = QStringLiteral("/org/freedesktop/PackageKit");
const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

// Of pk-enum.h, PkExitEnum and PkInfoEnum.
constexpr unsigned exitSuccess = 1;
constexpr unsigned exitCancelled = 3;
constexpr unsigned infoBlocked = 9;
// PkErrorEnum.
constexpr unsigned errorNotAuthorized = 48;
// Newer versions put how grave an update is into the upper half.
constexpr unsigned infoMask = 0xffff;

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

constexpr const char *busIsGone = "The connection to the system bus was lost.";
constexpr const char *daemonEnded = "PackageKit ended before it was done.";
constexpr const char *cancelled = "PackageKit: cancelled";
constexpr const char *silent = "PackageKit has not answered for a long time.";

} // namespace

PackageKitTransaction::PackageKitTransaction(std::shared_ptr<BusLink> bus, Request request)
    : m_bus(std::move(bus))
    , m_request(std::move(request))
{
    m_silence.setSingleShot(true);
    m_silence.setInterval(m_request.patience);
    m_silence.callOnTimeout(this, [this] { giveUp(silent); });
}

PackageKitTransaction::~PackageKitTransaction()
{
    if (!m_hasEnded) {
        m_bus->stopObserving();
    }
}

void PackageKitTransaction::start()
{
    if (m_hasEnded) {
        return;
    }
    m_silence.start();
    listen();
    // It may have ended before it was observed: then nobody tells.
    if (!m_bus->connection().isConnected()) {
        fail(busIsGone);
        return;
    }
    send(QDBusMessage::createMethodCall(service, servicePath, service,
                                        QStringLiteral("CreateTransaction")),
         [this](const QDBusMessage &reply) { created(reply); });
}

QDBusMessage PackageKitTransaction::call(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(m_owner, m_path, transactionInterface, method);
    message.setArguments(arguments);
    return message;
}

void PackageKitTransaction::send(const QDBusMessage &message, Answered answered)
{
    const auto replied = [this, answered = std::move(answered)](const QDBusMessage &reply) {
        if (reply.type() != QDBusMessage::ReplyMessage) {
            failWith(reply);
        } else if (answered) {
            answered(reply);
        }
    };
    constexpr BusCall::Options options{.afterForgery = BusCall::AfterForgery::Fail};
    if (m_owner.isEmpty()) {
        BusCall::sendToOwner(m_bus->connection(), message, this, replied, options);
    } else {
        BusCall::send(m_bus->connection(), message, this, replied, options);
    }
}

void PackageKitTransaction::created(const QDBusMessage &reply)
{
    m_path = reply.arguments().value(0).value<QDBusObjectPath>().path();
    m_owner = replySender(reply);
    if (m_hasEnded || m_path.isEmpty()) {
        fail("PackageKit made no transaction");
        return;
    }
    for (const char *signal :
         {"Package", "UpdateDetail", "ErrorCode", "ItemProgress", "Finished"}) {
        m_bus->observeSignal(m_path, transactionInterface, QLatin1String(signal));
    }
    // Percentage and status are properties.
    m_bus->observeSignal(m_path, propertiesInterface, QStringLiteral("PropertiesChanged"));
    send(call(QStringLiteral("SetHints"), {m_request.hints}), nullptr);
    send(call(m_request.method, m_request.arguments), nullptr);
}

void PackageKitTransaction::listen()
{
    m_bus->observe(service, {.ownerChanged =
                                 [this](const QString &from, const QString &) {
                                     if (!m_owner.isEmpty() && from == m_owner) {
                                         fail(daemonEnded);
                                     }
                                 },
                             .ended = [this] { fail(busIsGone); },
                             .signalled = [this](const QDBusMessage &signal) { told(signal); }});
}

void PackageKitTransaction::told(const QDBusMessage &signal)
{
    using Teller = void (PackageKitTransaction::*)(const QDBusMessage &);
    static const std::map<QString, Teller> tellers{
        {QStringLiteral("Package"), &PackageKitTransaction::packageTold},
        {QStringLiteral("UpdateDetail"), &PackageKitTransaction::updateDetailTold},
        {QStringLiteral("ErrorCode"), &PackageKitTransaction::errorTold},
        {QStringLiteral("Finished"), &PackageKitTransaction::finished}};
    if (signal.service() != m_owner || signal.path() != m_path) { // anybody may send the like
        return;
    }
    m_silence.start();
    const auto teller = tellers.find(signal.member());
    if (teller != tellers.end()) {
        (this->*teller->second)(signal);
    }
}

void PackageKitTransaction::packageTold(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    m_outcome.packages.push_back(
        {.id = arguments.value(1).toString(),
         .isBlocked = (arguments.value(0).toUInt() & infoMask) == infoBlocked});
}

void PackageKitTransaction::updateDetailTold(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    m_outcome.updateText = arguments.value(7).toString();
    m_outcome.changeLog = arguments.value(8).toString();
}

void PackageKitTransaction::errorTold(const QDBusMessage &signal)
{
    m_outcome.failure = signal.arguments().value(1).toString().trimmed().toStdString();
    m_outcome.isRefused = signal.arguments().value(0).toUInt() == errorNotAuthorized;
}

void PackageKitTransaction::finished(const QDBusMessage &signal)
{
    const unsigned exit = signal.arguments().value(0).toUInt();
    if (exit == exitSuccess) {
        m_outcome.failure.reset(); // what was told of was put right, or was a warning
    } else if (!m_outcome.failure || m_outcome.failure->empty()) {
        m_outcome.failure = exit == exitCancelled
                                ? cancelled
                                : "PackageKit: failed (exit code " + std::to_string(exit) + ")";
    }
    end();
}

void PackageKitTransaction::cancel()
{
    giveUp(cancelled);
}

void PackageKitTransaction::giveUp(const std::string &words)
{
    if (m_hasEnded) {
        return;
    }
    if (!m_path.isEmpty()) {
        // The daemon hears of it only while the link is there.
        BusCall::send(m_bus->connection(), call(QStringLiteral("Cancel"), {}),
                      QCoreApplication::instance(), [link = m_bus](const QDBusMessage &) {},
                      {.timeout = BusCall::defaultTimeout});
    }
    fail(words);
}

void PackageKitTransaction::fail(const std::string &words)
{
    if (!m_hasEnded) {
        m_outcome.failure = words;
        end();
    }
}

void PackageKitTransaction::failWith(const QDBusMessage &error)
{
    if (!m_hasEnded) {
        m_outcome.isRefused = PackageKitFailure::isRefusal(error.errorName());
        fail(PackageKitFailure::words(error.errorName(), error.errorMessage()));
    }
}

void PackageKitTransaction::end()
{
    if (!m_hasEnded) {
        m_hasEnded = true;
        m_silence.stop();
        m_bus->stopObserving();
        Q_EMIT ended(m_outcome);
    }
}

} // namespace Tarnwick
