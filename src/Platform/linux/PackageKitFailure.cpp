// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitFailure.h"

#include <QStringList>

namespace Tarnwick::PackageKitFailure {

namespace {

constexpr QLatin1String busErrors("org.freedesktop.DBus.Error.");
constexpr QLatin1String spawnErrors("Spawn.");

} // namespace

std::string words(const QString &errorName, const QString &message)
{
    if (!errorName.startsWith(busErrors)) {
        return message.toStdString();
    }
    const QString error = errorName.mid(busErrors.size());
    if (error == QLatin1String("ServiceUnknown") || error == QLatin1String("NameHasNoOwner")) {
        return "PackageKit is not installed or not running.";
    }
    if (error == QLatin1String("NoReply")) {
        return "PackageKit ended before it had answered.";
    }
    if (error == QLatin1String("Disconnected")) {
        return "The connection to the system bus was lost.";
    }
    if (error.startsWith(spawnErrors) || error == QLatin1String("TimedOut")) {
        return "PackageKit could not be started: " + message.toStdString();
    }
    if (error == QLatin1String("AccessDenied")) {
        return "The system does not allow this use of PackageKit: " + message.toStdString();
    }
    return message.toStdString();
}

std::string noBus(const QString &message)
{
    return "The system bus cannot be reached: " + message.toStdString();
}

bool isRefusal(const QString &errorName)
{
    static const QStringList refusals{
        QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"),
        QStringLiteral("org.freedesktop.PackageKit.Transaction.RefusedByPolicy")};
    return refusals.contains(errorName);
}

} // namespace Tarnwick::PackageKitFailure
