// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AboutTexts.h"

#include <QMetaType>
#include <QVariant>

namespace Tarnwick {

QString shortVersion(const QVariantMap &information)
{
    const QVariant version = information.value(QStringLiteral("CFBundleShortVersionString"));
    return version.typeId() == QMetaType::QString ? version.toString() : QStringLiteral("\u2014");
}

AboutTexts::AboutTexts(const QVariantMap &information, QObject *parent)
    : QObject(parent)
    , m_version(QStringLiteral("Version ") + shortVersion(information))
{
}

QString AboutTexts::name()
{
    return QStringLiteral("Tarnwick");
}

QString AboutTexts::description()
{
    return QStringLiteral("Native macOS menu bar utility for developers. Shows every listening "
                          "port, classified by tier, with one-click kill.");
}

} // namespace Tarnwick
