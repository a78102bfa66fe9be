// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace Tarnwick {

/// The version in @p information, what a bundle tells of itself: its text
/// "CFBundleShortVersionString", or a dash where it has none.
[[nodiscard]] QString shortVersion(const QVariantMap &information);

/// What the About pane says. Main thread.
class AboutTexts : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString description READ description CONSTANT)

public:
    explicit AboutTexts(const QVariantMap &information, QObject *parent = nullptr);

    /// Those of the program, made with the first call.
    [[nodiscard]] static AboutTexts &shared();

    [[nodiscard]] static QString name();
    /// With the word before it.
    [[nodiscard]] const QString &version() const { return m_version; }
    [[nodiscard]] static QString description();

private:
    QString m_version;
};

} // namespace Tarnwick
