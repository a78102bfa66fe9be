// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AboutTexts.h"
#include "App/LaunchAtLogin.h"
#include "App/UpdaterController.h"
#include "UI/SettingsModel.h"

#include <QObject>
#include <QQmlEngine>

namespace Tarnwick {

/// What the settings of the program edit and show, on the shared services. Made when QML asks for
/// it first. Main thread.
class SharedSettings : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(Tarnwick::SettingsModel *model READ model CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::LaunchAtLogin *launchAtLogin READ launchAtLogin CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::UpdaterController *updater READ updater CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::AboutTexts *about READ about CONSTANT FINAL)

public:
    explicit SharedSettings(QObject *parent = nullptr);

    [[nodiscard]] SettingsModel *model() { return &m_model; }
    [[nodiscard]] static LaunchAtLogin *launchAtLogin() { return &LaunchAtLogin::shared(); }
    [[nodiscard]] static UpdaterController *updater() { return &UpdaterController::shared(); }
    [[nodiscard]] static AboutTexts *about() { return &AboutTexts::shared(); }

private:
    SettingsModel m_model;
};

} // namespace Tarnwick
