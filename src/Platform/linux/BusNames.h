// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/HelperProtocol.h"

#include <QLatin1String>
#include <QString>

namespace Tarnwick::BusNames {

/// The bus itself, as the D-Bus specification names it.
inline const QString busService = QStringLiteral("org.freedesktop.DBus");
inline const QString busPath = QStringLiteral("/org/freedesktop/DBus");
/// Where the library tells of itself that its connection broke.
inline const QString localPath = QStringLiteral("/org/freedesktop/DBus/Local");
inline const QString localInterface = QStringLiteral("org.freedesktop.DBus.Local");

inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

inline const QString nameOwnerChanged = QStringLiteral("NameOwnerChanged");
/// The error of a name that nobody has.
inline const QString nameHasNoOwner = QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner");

inline const QString disconnected = QStringLiteral("Disconnected");

inline QString helperService()
{
    return QString::fromUtf8(HelperProtocol::serviceName.data(),
                             static_cast<qsizetype>(HelperProtocol::serviceName.size()));
}

inline QString helperPath()
{
    return QString::fromUtf8(HelperProtocol::objectPath.data(),
                             static_cast<qsizetype>(HelperProtocol::objectPath.size()));
}

inline QString helperInterface()
{
    return QString::fromUtf8(HelperProtocol::interfaceName.data(),
                             static_cast<qsizetype>(HelperProtocol::interfaceName.size()));
}

} // namespace Tarnwick::BusNames
