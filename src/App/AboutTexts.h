// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/SystemTexts.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace Tarnwick {

/// The version in @p information, what a bundle tells of itself: its text
/// "CFBundleShortVersionString", or a dash where it has none.
[[nodiscard]] QString shortVersion(const QVariantMap &information);

/// What the application says of itself, in the About pane and in the bubble of the first run. Main
/// thread.
class AboutTexts : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString description READ description CONSTANT)

public:
    explicit AboutTexts(const QVariantMap &information,
                        const SystemTexts &system = SystemTexts::ofThisSystem(),
                        QObject *parent = nullptr);

    /// Those of the program, made with the first call.
    [[nodiscard]] static AboutTexts &shared();

    [[nodiscard]] static QString name();
    /// With the word before it.
    [[nodiscard]] const QString &version() const { return m_version; }
    [[nodiscard]] const QString &description() const { return m_description; }
    /// Where its icon is, on this system.
    [[nodiscard]] static QString whereItLives();

private:
    QString m_version;
    QString m_description;
};

} // namespace Tarnwick
