// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/SharedSettings.h"

#include "App/AppState.h"
#include "App/Preferences.h"
#include "Core/NetworkMonitor.h"

namespace Tarnwick {

namespace {

SettingsModel::Monitor sharedMonitor()
{
    return {
        .pollInterval = [] { return NetworkMonitor::shared().pollInterval(); },
        .setPollInterval =
            [](double seconds) { NetworkMonitor::shared().setPollInterval(seconds); },
        .stop = [] { NetworkMonitor::shared().stop(); },
        .start = [] { NetworkMonitor::shared().start(); },
    };
}

} // namespace

SharedSettings::SharedSettings(QObject *parent)
    : QObject(parent)
    , m_model(Preferences::shared(), AppState::shared(), sharedMonitor())
{
}

} // namespace Tarnwick
