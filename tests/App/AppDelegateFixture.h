// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AppDelegate.h"

#include "App/AppState.h"
#include "App/FirstRunOnboarding.h"
#include "App/MoveToApplications.h"
#include "App/Preferences.h"
#include "App/SettingsWindowOpener.h"
#include "Core/DiffEngine.h"
#include "Core/NetworkMonitor.h"
#include "Platform/fake/FakeFloatingPanel.h"
#include "Platform/fake/FakeLaunchContext.h"
#include "Platform/fake/FakePopover.h"
#include "Platform/fake/FakeStatusItem.h"
#include "tests/Core/ScriptedSource.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/RecordedLog.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QRect>
#include <QSettings>
#include <QString>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// An application delegate whose desktop, helper and settings a test plays.
class AppDelegateFixture : public testing::Test
{
protected:
    static inline const QRect icon{1000, 0, 24, 24};
    static constexpr StatusClick plainClick{};

    void store(const char *key, const char *value)
    {
        m_store.setValue(QLatin1StringView(key), QString::fromUtf8(value));
    }
    void rememberFirstRun() { m_preferences.setHasSeenMenuBarOnboarding(); }

    void launch() { m_delegate.applicationDidFinishLaunching(); }
    /// A launch at the end of which the icon is in the tray.
    void launchWithTray()
    {
        launch();
        m_statusItem.appear(icon);
    }

    [[nodiscard]] bool awaitPopover()
    {
        return await([this] { return m_popover.isShown(); });
    }

    void tell(const char *step)
    {
        if (onStep) {
            onStep(step);
        }
        m_launch.emplace_back(step);
    }

    RecordedLog m_log;
    TemporaryFolder m_folder;
    QSettings m_store{QString::fromStdString((m_folder.path() / "settings").string()),
                      QSettings::IniFormat};
    Preferences m_preferences{m_store};
    FakeStatusItem m_statusItem;
    FakePopover m_popover;
    FakeLaunchContext m_launchContext;
    FakeFloatingPanel::Record m_bubbles;
    FirstRunOnboarding m_onboarding{m_preferences, FakeFloatingPanel::maker(m_bubbles)};
    AppState m_state;
    ScriptedSource m_source;
    DiffEngine m_engine{m_state};
    NetworkMonitor m_monitor{m_source, m_engine};
    SettingsWindowOpener m_settings;
    std::function<void(std::string_view step)> onStep;
    MoveToApplications::Outcome m_answerToMove = MoveToApplications::Outcome::Stays;
    std::vector<std::string> m_launch; ///< what was called for before the icon
    std::vector<std::string> m_actions;
    AppDelegate m_delegate{{
                               .statusItem = m_statusItem,
                               .popover = m_popover,
                               .launchContext = m_launchContext,
                               .preferences = m_preferences,
                               .appState = m_state,
                               .networkMonitor = m_monitor,
                               .onboarding = m_onboarding,
                               .settingsWindow = m_settings,
                           },
                           {
                               .promptToMove =
                                   [this] {
                                       tell("move");
                                       return m_answerToMove;
                                   },
                               .makeUpdater = [this] { tell("updater"); },
                               .checkForUpdates = [this] { m_actions.emplace_back("updates"); },
                               .revealLog = [this] { m_actions.emplace_back("log"); },
                               .terminate = [this] { m_actions.emplace_back("terminate"); },
                           }};
};

} // namespace Tarnwick
