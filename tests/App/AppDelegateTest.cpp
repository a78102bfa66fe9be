// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppDelegate.h"

#include "App/AppState.h"
#include "App/FirstRunOnboarding.h"
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

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QSettings>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

using namespace Tarnwick;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QRect icon(1000, 0, 24, 24);
constexpr StatusClick plainClick{};
constexpr StatusClick rightClick{.button = StatusClick::Button::Right};
constexpr StatusClick controlClick{.withControl = true};

class AppDelegateTest : public testing::Test
{
protected:
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

    [[nodiscard]] bool awaitFirstScan()
    {
        return await([this] { return !m_source.requests.empty(); });
    }
    [[nodiscard]] bool awaitPopover()
    {
        return await([this] { return m_popover.isShown(); });
    }
    /// Lets the event loop run past the moment of the automatic opening.
    void passAutomaticOpening()
    {
        QTimer later;
        later.setSingleShot(true);
        later.start(400ms);
        ASSERT_TRUE(await([&later] { return !later.isActive(); }));
    }

    void choose(const char *title)
    {
        for (const StatusMenuEntry &entry : m_delegate.contextMenu()) {
            if (entry.title == QString::fromUtf8(title)) {
                entry.chosen();
                return;
            }
        }
        FAIL() << "no entry " << title;
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
    void tell(const char *step)
    {
        if (onStep) {
            onStep(step);
        }
        m_launch.emplace_back(step);
    }

    std::function<void(std::string_view step)> onStep;
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
                               .promptToMove = [this] { tell("move"); },
                               .makeUpdater = [this] { tell("updater"); },
                               .checkForUpdates = [this] { m_actions.emplace_back("updates"); },
                               .revealLog = [this] { m_actions.emplace_back("log"); },
                               .terminate = [this] { m_actions.emplace_back("terminate"); },
                           }};
};

struct StoredPeriod
{
    const char *text;
    double seconds;

    friend void PrintTo(const StoredPeriod &stored, std::ostream *out) { *out << stored.text; }
};

class StoredPeriodTest : public AppDelegateTest, public testing::WithParamInterface<StoredPeriod>
{
};

} // namespace

// The launch

TEST_F(AppDelegateTest, OffersToMoveAndThenMakesTheUpdaterBeforeThereIsAnIcon)
{
    m_statusItem.onInstall = [this] { m_launch.emplace_back("icon"); };
    launch();
    EXPECT_THAT(m_launch, ElementsAre("move", "updater", "icon"));
}

TEST_F(AppDelegateTest, LaunchesOnceTheOfferToMoveIsAnswered)
{
    onStep = [this](std::string_view step) {
        if (step == "move") {
            // The question is on the screen: events go on.
            m_delegate.reopen();
            EXPECT_THAT(m_popover.anchors, IsEmpty());
            EXPECT_FALSE(m_statusItem.click);
        }
    };
    launchWithTray();
    m_delegate.reopen();
    EXPECT_THAT(m_popover.anchors, ElementsAre(icon));
}

TEST_F(AppDelegateTest, MakesTheIconBeforeItLoadsAnythingElse)
{
    store("pollInterval", "5");
    m_statusItem.onInstall = [this] {
        EXPECT_TRUE(m_statusItem.click);
        EXPECT_FALSE(m_popover.isPrepared);
        EXPECT_EQ(m_monitor.pollInterval(), 10.0);
        EXPECT_THAT(m_source.requests, IsEmpty());
    };
    launch();
}

TEST_F(AppDelegateTest, LoadsThePanelWhenTheTrayHasHadTimeForTheIcon)
{
    launch();
    m_statusItem.appear(icon);
    EXPECT_FALSE(m_popover.isPrepared);
    EXPECT_TRUE(await([this] { return m_popover.isPrepared; }));
}

TEST_F(AppDelegateTest, ScansFirstWhenTheLaunchIsOver)
{
    launch();
    EXPECT_THAT(m_source.requests, IsEmpty());
    EXPECT_TRUE(awaitFirstScan());
}

TEST_F(AppDelegateTest, AppliesTheStoredChoiceOfSystemPorts)
{
    store("showSystemPortsByDefault", "true");
    launch();
    EXPECT_TRUE(m_state.showSystemPorts());
}

TEST_F(AppDelegateTest, HidesSystemPortsWhenNothingIsStored)
{
    m_state.setShowSystemPorts(true);
    launch();
    EXPECT_FALSE(m_state.showSystemPorts());
}

TEST_P(StoredPeriodTest, IsAppliedWithinItsRange)
{
    store("pollInterval", GetParam().text);
    launch();
    EXPECT_EQ(m_monitor.pollInterval(), GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(AppDelegate, StoredPeriodTest,
                         testing::Values(StoredPeriod{"2", 2.0}, StoredPeriod{"60", 60.0},
                                         StoredPeriod{"1.5", 10.0}, StoredPeriod{"90", 10.0},
                                         StoredPeriod{"often", 10.0}));

// The greeting

TEST_F(AppDelegateTest, StaysQuietAsALoginItemEvenOnAFirstRun)
{
    m_launchContext.loginItem = true;
    launchWithTray();
    passAutomaticOpening();
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[app] login-item launch — staying quiet in menu bar"));
    EXPECT_EQ(m_bubbles.made, 0);
    EXPECT_THAT(m_popover.anchors, IsEmpty());
    EXPECT_FALSE(m_preferences.hasSeenMenuBarOnboarding());
}

TEST_F(AppDelegateTest, ShowsTheBubbleAndNotThePopoverOnAFirstRun)
{
    launchWithTray();
    passAutomaticOpening();
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] first-run — showing menu bar onboarding"));
    EXPECT_EQ(m_bubbles.anchor, icon);
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateTest, OpensThePopoverThreeTenthsOfASecondAfterALaterLaunch)
{
    rememberFirstRun();
    QElapsedTimer clock;
    clock.start();
    launchWithTray();
    EXPECT_FALSE(m_popover.isShown());
    ASSERT_TRUE(awaitPopover());
    EXPECT_GE(clock.elapsed(), 285);
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[app] user-initiated launch — auto-opening popover"));
    EXPECT_THAT(m_popover.anchors, ElementsAre(icon));
    EXPECT_EQ(m_bubbles.made, 0);
}

TEST_F(AppDelegateTest, OpensAWindowOnAFirstRunWithoutATray)
{
    launch();
    m_statusItem.disappear();
    ASSERT_TRUE(awaitPopover());
    EXPECT_THAT(m_popover.anchors, ElementsAre(std::nullopt));
    EXPECT_EQ(m_bubbles.made, 0);
    EXPECT_FALSE(m_preferences.hasSeenMenuBarOnboarding());
}

TEST_F(AppDelegateTest, GreetsOnceHoweverOftenTheTrayComesAndGoes)
{
    launchWithTray();
    m_statusItem.disappear();
    m_statusItem.appear(icon);
    passAutomaticOpening();
    EXPECT_EQ(m_bubbles.made, 1);
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] first-run — showing menu bar onboarding"));
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateTest, LeavesAPopoverAloneThatTheUserOpenedBeforeItsTime)
{
    rememberFirstRun();
    launchWithTray();
    m_statusItem.click(plainClick);
    passAutomaticOpening();
    EXPECT_EQ(m_popover.anchors.size(), 1U);
    EXPECT_EQ(m_popover.closings, 0);
}

// Clicks

TEST_F(AppDelegateTest, TogglesThePopoverWithAPlainClick)
{
    launchWithTray();
    m_statusItem.click(plainClick);
    EXPECT_TRUE(m_popover.isShown());
    m_statusItem.click(plainClick);
    EXPECT_FALSE(m_popover.isShown());
    m_statusItem.click(plainClick);
    EXPECT_THAT(m_popover.anchors, ElementsAre(icon, icon));
    EXPECT_EQ(m_statusItem.menusShown, 0);
}

TEST_F(AppDelegateTest, DoesNotReopenThePopoverWithTheClickThatClosedIt)
{
    launchWithTray();
    m_popover.closedByThisClick = true;
    m_statusItem.click(plainClick);
    EXPECT_FALSE(m_popover.isShown());
}

TEST_F(AppDelegateTest, ShowsTheMenuWithARightClick)
{
    launchWithTray();
    m_statusItem.click(rightClick);
    EXPECT_EQ(m_statusItem.menusShown, 1);
    EXPECT_FALSE(m_popover.isShown());
}

TEST_F(AppDelegateTest, ShowsTheMenuWithAControlClick)
{
    launchWithTray();
    m_statusItem.click(controlClick);
    EXPECT_EQ(m_statusItem.menusShown, 1);
    EXPECT_FALSE(m_popover.isShown());
}

TEST_F(AppDelegateTest, TogglesWithAPlainClickAgainAfterTheMenu)
{
    launchWithTray();
    m_statusItem.click(rightClick);
    m_statusItem.click(plainClick);
    EXPECT_TRUE(m_popover.isShown());
    EXPECT_EQ(m_statusItem.menusShown, 1);
}

// The menu

TEST_F(AppDelegateTest, HasTheMenuInItsOrder)
{
    std::vector<std::string> titles;
    for (const StatusMenuEntry &entry : m_delegate.contextMenu()) {
        titles.push_back(entry.title.toStdString());
    }
    EXPECT_THAT(titles,
                ElementsAre("Open Tarnwick", "", "Settings\u2026", "Check for Updates\u2026", "",
                            "Reveal Diagnostic Log", "", "Quit Tarnwick"));
}

TEST_F(AppDelegateTest, GivesItsMenuToTheStatusItem)
{
    launch();
    EXPECT_EQ(m_statusItem.buildMenu().size(), m_delegate.contextMenu().size());
}

TEST_F(AppDelegateTest, HasShortcutsForSettingsAndQuit)
{
    std::vector<std::string> withShortcut;
    for (const StatusMenuEntry &entry : m_delegate.contextMenu()) {
        if (entry.shortcut == (Qt::CTRL | Qt::Key_Comma)) {
            withShortcut.push_back("Ctrl+, " + entry.title.toStdString());
        } else if (entry.shortcut == (Qt::CTRL | Qt::Key_Q)) {
            withShortcut.push_back("Ctrl+Q " + entry.title.toStdString());
        } else {
            EXPECT_FALSE(entry.shortcut) << entry.title.toStdString();
        }
    }
    EXPECT_THAT(withShortcut, ElementsAre("Ctrl+, Settings\u2026", "Ctrl+Q Quit Tarnwick"));
}

TEST_F(AppDelegateTest, TogglesThePopoverFromTheMenu)
{
    launchWithTray();
    choose("Open Tarnwick");
    EXPECT_TRUE(m_popover.isShown());
    choose("Open Tarnwick");
    EXPECT_FALSE(m_popover.isShown());
}

TEST_F(AppDelegateTest, OpensTheSettingsFromTheMenu)
{
    m_settings.setOpen([this] { m_actions.emplace_back("settings"); });
    choose("Settings\u2026");
    EXPECT_THAT(m_actions, ElementsAre("settings"));
}

TEST_F(AppDelegateTest, PassesTheOtherChoicesOn)
{
    choose("Check for Updates\u2026");
    choose("Reveal Diagnostic Log");
    choose("Quit Tarnwick");
    EXPECT_THAT(m_actions, ElementsAre("updates", "log", "terminate"));
}

// The ordinary window

TEST_F(AppDelegateTest, MovesTheWindowToTheIconWhenATrayAppears)
{
    launch();
    m_statusItem.disappear();
    ASSERT_TRUE(awaitPopover());
    m_statusItem.appear(icon);
    EXPECT_TRUE(m_popover.isShown());
    EXPECT_THAT(m_popover.anchors, ElementsAre(std::nullopt, icon));
}

TEST_F(AppDelegateTest, OpensNothingWhenATrayAppearsLate)
{
    m_launchContext.loginItem = true;
    launch();
    m_statusItem.disappear();
    m_statusItem.appear(icon);
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateTest, EndsWithItsWindowWhenThereIsNoTray)
{
    launch();
    m_statusItem.disappear();
    ASSERT_TRUE(awaitPopover());
    m_popover.windowClosed();
    EXPECT_THAT(m_actions, ElementsAre("terminate"));
}

TEST_F(AppDelegateTest, GoesOnWithoutItsWindowWhenThereIsATray)
{
    launchWithTray();
    m_popover.windowClosed();
    EXPECT_THAT(m_actions, IsEmpty());
}

TEST_F(AppDelegateTest, OpensAWindowWithoutATrayWhenItIsStartedAgain)
{
    m_launchContext.loginItem = true;
    launch();
    m_statusItem.disappear();
    m_delegate.reopen();
    EXPECT_THAT(m_popover.anchors, ElementsAre(std::nullopt));
}

TEST_F(AppDelegateTest, BringsThePopoverForwardWhenItIsStartedAgain)
{
    launchWithTray();
    m_delegate.reopen();
    m_delegate.reopen();
    EXPECT_TRUE(m_popover.isShown());
    EXPECT_THAT(m_popover.anchors, ElementsAre(icon, icon));
}
