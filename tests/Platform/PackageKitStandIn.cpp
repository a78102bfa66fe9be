// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/PackageKitStandIn.h"

#include <QDBusError>
#include <QDBusObjectPath>
#include <QTimer>
#include <QVariantList>

#include <stdexcept>

namespace Tarnwick {

namespace {

const QString connectionName = QStringLiteral("package-kit-stand-in");
const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

} // namespace

PackageKitStandIn::PackageKitStandIn(const std::string &busAddress)
    : m_bus(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName))
{
    const bool isThere =
        m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath) &&
        m_bus.registerService(service);
    if (!isThere) {
        throw std::runtime_error(m_bus.lastError().message().toStdString());
    }
}

PackageKitStandIn::~PackageKitStandIn()
{
    leave();
}

void PackageKitStandIn::leave()
{
    QDBusConnection::disconnectFromBus(connectionName);
    m_bus = QDBusConnection(QString());
}

bool PackageKitStandIn::handleMessage(const QDBusMessage &message,
                                      const QDBusConnection & /*connection*/)
{
    if (message.member() == QLatin1String("CreateTransaction")) {
        const QDBusObjectPath path(QStringLiteral("/transaction%1").arg(++m_count));
        m_bus.send(message.createReply(QVariant::fromValue(path)));
        return true;
    }
    if (message.member() == QLatin1String("SetHints")) {
        m_hintsOfPath[message.path()] = message.arguments().value(0).toStringList();
        m_bus.send(message.createReply());
        return true;
    }
    if (message.interface() != transactionInterface) {
        return false;
    }
    calls.push_back(message.member());
    arguments[message.member()] = message.arguments();
    hints[message.member()] = m_hintsOfPath[message.path()];
    if (onCall) {
        onCall();
    }
    play(message, scripts[message.member()]);
    return true;
}

void PackageKitStandIn::play(const QDBusMessage &message, const Script &script)
{
    if (!script.refusal.isEmpty()) {
        m_bus.send(message.createErrorReply(
            QStringLiteral("org.freedesktop.PackageKit.Transaction.RefusedByPolicy"),
            script.refusal));
        return;
    }
    m_bus.send(message.createReply());
    for (const auto &[info, id] : script.packages) {
        emitTo(message, QStringLiteral("Package"), {info, id, QStringLiteral("a summary")});
    }
    if (message.member() == QLatin1String("GetUpdateDetail") && script.error.isEmpty()) {
        const QStringList none;
        emitTo(message, QStringLiteral("UpdateDetail"),
               {message.arguments().value(0).toStringList().value(0), none, none, none, none, none,
                0U, script.updateText, script.changeLog, 0U, QString(), QString()});
    }
    if (!script.error.isEmpty()) {
        emitTo(message, QStringLiteral("ErrorCode"), {script.errorCode, script.error});
    }
    playEnd(message, script);
}

void PackageKitStandIn::playEnd(const QDBusMessage &message, const Script &script)
{
    if (script.steps > 0) {
        emitTo(message, QStringLiteral("ItemProgress"), {QStringLiteral("an item"), 1U, 50U});
        Script rest = script;
        --rest.steps;
        QTimer::singleShot(stepPause, this, [this, message, rest] { playEnd(message, rest); });
    } else if (!script.neverEnds) {
        emitTo(message, QStringLiteral("Finished"), {script.exit, 12U});
    }
}

void PackageKitStandIn::emitTo(const QDBusMessage &caller, const QString &name,
                               const QVariantList &values)
{
    QDBusMessage signal = QDBusMessage::createTargetedSignal(caller.service(), caller.path(),
                                                             transactionInterface, name);
    signal.setArguments(values);
    m_bus.send(signal);
}

} // namespace Tarnwick
