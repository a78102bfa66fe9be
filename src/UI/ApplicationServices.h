// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AboutTexts.h"
#include "App/LaunchAtLogin.h"
#include "App/UpdaterController.h"

#include <QQmlEngine>

namespace Tarnwick {

// The services of the application that views bind to, by their names. They know nothing of QML.

struct AboutTextsInQml
{
    Q_GADGET
    QML_FOREIGN(Tarnwick::AboutTexts)
    QML_NAMED_ELEMENT(AboutTexts)
    QML_UNCREATABLE("it tells of the application that runs")
};

struct LaunchAtLoginInQml
{
    Q_GADGET
    QML_FOREIGN(Tarnwick::LaunchAtLogin)
    QML_NAMED_ELEMENT(LaunchAtLogin)
    QML_UNCREATABLE("it needs the login item of the application")
};

struct UpdaterControllerInQml
{
    Q_GADGET
    QML_FOREIGN(Tarnwick::UpdaterController)
    QML_NAMED_ELEMENT(UpdaterController)
    QML_UNCREATABLE("it needs the updater of the platform")
};

} // namespace Tarnwick
