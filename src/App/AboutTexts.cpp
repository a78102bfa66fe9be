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

AboutTexts::AboutTexts(const QVariantMap &information, const SystemTexts &system, QObject *parent)
    : QObject(parent)
    , m_version(QStringLiteral("Version ") + shortVersion(information))
    , m_description(system.description)
{
}

QString AboutTexts::whereItLives()
{
    return SystemTexts::ofThisSystem().whereItLives;
}

QString AboutTexts::name()
{
    return QStringLiteral("Tarnwick");
}

} // namespace Tarnwick
