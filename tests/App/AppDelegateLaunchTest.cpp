// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppDelegate.h"

#include "tests/App/AppDelegateFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <optional>
#include <ostream>
#include <string_view>

using namespace Tarnwick;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AppDelegateLaunchTest : public AppDelegateFixture
{
protected:
    [[nodiscard]] bool awaitFirstScan()
    {
        return await([this] { return !m_source.requests.empty(); });
    }
    /// Lets the event loop run past the moment of the automatic opening.
    void passAutomaticOpening()
    {
        QTimer later;
        later.setSingleShot(true);
        later.start(400ms);
        ASSERT_TRUE(await([&later] { return !later.isActive(); }));
    }
};

struct StoredPeriod
{
    const char *text;
    double seconds;

    friend void PrintTo(const StoredPeriod &stored, std::ostream *out) { *out << stored.text; }
};

class StoredPeriodTest : public AppDelegateLaunchTest,
                         public testing::WithParamInterface<StoredPeriod>
{
};

} // namespace

// The launch

TEST_F(AppDelegateLaunchTest, OffersToMoveAndThenMakesTheUpdaterBeforeThereIsAnIcon)
{
    m_statusItem.onInstall = [this] { m_launch.emplace_back("icon"); };
    launch();
    EXPECT_THAT(m_launch, ElementsAre("move", "updater", "icon"));
}

TEST_F(AppDelegateLaunchTest, EndsWithTheOfferWhenTheApplicationMoved)
{
    rememberFirstRun();
    m_answerToMove = MoveToApplications::Outcome::Moved;
    m_statusItem.onInstall = [this] { m_launch.emplace_back("icon"); };
    launch();
    m_delegate.reopen();
    passAutomaticOpening();
    EXPECT_THAT(m_launch, ElementsAre("move"));
    EXPECT_THAT(m_source.requests, IsEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateLaunchTest, EndsWithTheOfferAlsoAsALoginItem)
{
    m_launchContext.loginItem = true;
    m_answerToMove = MoveToApplications::Outcome::Moved;
    launch();
    EXPECT_THAT(m_log.messages(), IsEmpty());
    EXPECT_FALSE(m_statusItem.click);
}

TEST_F(AppDelegateLaunchTest, LaunchesOnceTheOfferToMoveIsAnswered)
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

TEST_F(AppDelegateLaunchTest, MakesTheIconBeforeItLoadsAnythingElse)
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

TEST_F(AppDelegateLaunchTest, LoadsThePanelWhenTheTrayHasHadTimeForTheIcon)
{
    launch();
    m_statusItem.appear(icon);
    EXPECT_FALSE(m_popover.isPrepared);
    EXPECT_TRUE(await([this] { return m_popover.isPrepared; }));
}

TEST_F(AppDelegateLaunchTest, ScansFirstWhenTheLaunchIsOver)
{
    launch();
    EXPECT_THAT(m_source.requests, IsEmpty());
    EXPECT_TRUE(awaitFirstScan());
}

TEST_F(AppDelegateLaunchTest, AppliesTheStoredChoiceOfSystemPorts)
{
    store("showSystemPortsByDefault", "true");
    launch();
    EXPECT_TRUE(m_state.showSystemPorts());
}

TEST_F(AppDelegateLaunchTest, HidesSystemPortsWhenNothingIsStored)
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

TEST_F(AppDelegateLaunchTest, StaysQuietAsALoginItemEvenOnAFirstRun)
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

TEST_F(AppDelegateLaunchTest, ShowsTheBubbleAndNotThePopoverOnAFirstRun)
{
    launchWithTray();
    passAutomaticOpening();
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] first-run — showing menu bar onboarding"));
    EXPECT_EQ(m_bubbles.anchor, icon);
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateLaunchTest, OpensThePopoverThreeTenthsOfASecondAfterALaterLaunch)
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

TEST_F(AppDelegateLaunchTest, OpensAWindowOnAFirstRunWithoutATray)
{
    launch();
    m_statusItem.disappear();
    ASSERT_TRUE(awaitPopover());
    EXPECT_THAT(m_popover.anchors, ElementsAre(std::nullopt));
    EXPECT_EQ(m_bubbles.made, 0);
    EXPECT_FALSE(m_preferences.hasSeenMenuBarOnboarding());
}

TEST_F(AppDelegateLaunchTest, GreetsOnceHoweverOftenTheTrayComesAndGoes)
{
    launchWithTray();
    m_statusItem.disappear();
    m_statusItem.appear(icon);
    passAutomaticOpening();
    EXPECT_EQ(m_bubbles.made, 1);
    EXPECT_THAT(m_log.messages(), ElementsAre("[app] first-run — showing menu bar onboarding"));
    EXPECT_THAT(m_popover.anchors, IsEmpty());
}

TEST_F(AppDelegateLaunchTest, LeavesAPopoverAloneThatTheUserOpenedBeforeItsTime)
{
    rememberFirstRun();
    launchWithTray();
    m_statusItem.click(plainClick);
    passAutomaticOpening();
    EXPECT_EQ(m_popover.anchors.size(), 1U);
    EXPECT_EQ(m_popover.closings, 0);
}
