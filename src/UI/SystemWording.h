// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AboutTexts.h"

#include <QObject>
#include <QQmlEngine>
#include <QString>

namespace Tarnwick {

/// The texts of this system for views that are made without the services of the application.
class SystemWording : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString whereItLives READ whereItLives CONSTANT FINAL)

public:
    [[nodiscard]] static QString whereItLives() { return AboutTexts::whereItLives(); }
};

} // namespace Tarnwick
