// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Where the services of the program meet: each shared instance is made here, with what it depends
// on. Those of Core are among them, for Core does not know the application's.

#include "App/AboutTexts.h"
#include "App/AppState.h"
#include "App/HelperClient.h"
#include "App/LaunchAtLogin.h"
#include "App/Preferences.h"
#include "Core/DiffEngine.h"
#include "Core/NetworkMonitor.h"
#include "Core/NeverDestroyed.h"
#include "Core/SerialExecutor.h"
#include "Platform/ApplicationBundle.h"
#include "Platform/LoginItem.h"
#include "Shared/AppLog.h"
#include "Shared/TierRuleFiles.h"

#include <QSettings>

#include <memory>

namespace Tarnwick {

namespace {

SerialExecutor &decoder()
{
    static NeverDestroyed<SerialExecutor> executor;
    return *executor;
}

/// The rules for tiers that hold now. One thread at a time.
SharedTierRules currentTierRules()
{
    static NeverDestroyed<TierRuleFiles> files(
        TierRuleSources::ofThisProcess(),
        [](const TierRuleProblem &problem) { AppLog::log("[tiers] refused: " + problem.text()); });
    return (*files).update();
}

} // namespace

AboutTexts &AboutTexts::shared()
{
    static NeverDestroyed<AboutTexts> texts(ApplicationBundle::ofThisApplication()->information());
    return *texts;
}

LaunchAtLogin &LaunchAtLogin::shared()
{
    static NeverDestroyed<std::unique_ptr<LoginItem>> item(LoginItem::ofThisApplication());
    static NeverDestroyed<LaunchAtLogin> launchAtLogin(**item);
    return *launchAtLogin;
}

Preferences &Preferences::shared()
{
    static NeverDestroyed<QSettings> settings;
    QSettings &store = *settings;
    // The application's own and nothing else: no other file of the organisation's or the system's.
    store.setFallbacksEnabled(false);
    static NeverDestroyed<Preferences> preferences(store);
    return *preferences;
}

HelperClient &HelperClient::shared()
{
    static NeverDestroyed<HelperClient> client(&HelperConnection::toHelper, decoder());
    return *client;
}

DiffEngine &DiffEngine::shared()
{
    static NeverDestroyed<DiffEngine> engine(AppState::shared());
    return *engine;
}

NetworkMonitor &NetworkMonitor::shared()
{
    static NeverDestroyed<NetworkMonitor> monitor(
        HelperClient::shared(), DiffEngine::shared(), NetworkMonitor::defaultDebounceDelay,
        NetworkMonitor::defaultFirstScanPatience, &currentTierRules);
    return *monitor;
}

} // namespace Tarnwick
