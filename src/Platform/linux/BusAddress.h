// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace Tarnwick {

/// Where sd-bus(3), and so the helper, finds the session bus.
[[nodiscard]] inline QString sessionBusAddress()
{
    const QString given = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!given.isEmpty()) {
        return given;
    }
    // The D-Bus specification's escapes for what an address may not hold.
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR").toPercentEncoding("/", "~");
    return QStringLiteral("unix:path=%1/bus").arg(QString::fromLatin1(folder));
}

} // namespace Tarnwick
