// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/SharedPanel.h"

#include "App/AppState.h"
#include "App/HelperClient.h"
#include "App/SettingsWindowOpener.h"
#include "Core/NetworkMonitor.h"

#include <QCoreApplication>
#include <QDir>

#include <iostream>

namespace Tarnwick {

namespace {

void printLine(std::string_view line)
{
    std::cout << line << '\n' << std::flush;
}

PanelModel::Services sharedServices()
{
    return {
        .kill = [](std::int64_t pid) { return HelperClient::shared().xpcKill(pid); },
        .scheduleRescan = [] { NetworkMonitor::shared().scheduleDebouncedScan(); },
        .print = &printLine,
        .openSettings = [] { SettingsWindowOpener::shared().show(); },
        .quit = &QCoreApplication::quit,
    };
}

} // namespace

SharedPanel::SharedPanel(QObject *parent)
    : QObject(parent)
    , m_model(AppState::shared(), sharedServices(), QDir::homePath().toStdString())
{
}

} // namespace Tarnwick
