// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/FirstRunOnboarding.h"

#include "App/Preferences.h"
#include "Platform/fake/FakeFloatingPanel.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QSettings>
#include <QString>

#include <chrono>
#include <optional>

using namespace Tarnwick;
using namespace std::chrono_literals;

namespace {

const QRect icon(100, 0, 24, 24);

class FirstRunOnboardingTest : public testing::Test
{
protected:
    [[nodiscard]] FirstRunOnboarding onboarding(std::chrono::milliseconds duration = 1h)
    {
        return {m_preferences, FakeFloatingPanel::maker(m_panels), duration};
    }

    TemporaryFolder m_folder;
    QSettings m_store{QString::fromStdString((m_folder.path() / "settings").string()),
                      QSettings::IniFormat};
    Preferences m_preferences{m_store};
    FakeFloatingPanel::Record m_panels;
};

} // namespace

TEST_F(FirstRunOnboardingTest, ShowsABubbleBelowTheIcon)
{
    FirstRunOnboarding onboarding = this->onboarding();
    onboarding.showIfNeeded(icon);
    EXPECT_EQ(m_panels.alive, 1);
    EXPECT_EQ(m_panels.content.fileName(), QStringLiteral("OnboardingBubble.qml"));
    EXPECT_EQ(m_panels.size, QSize(260, 96));
    EXPECT_EQ(m_panels.anchor, icon);
    EXPECT_EQ(m_panels.gap, 6);
}

TEST_F(FirstRunOnboardingTest, RemembersBeforeItShowsAnything)
{
    bool wasRemembered = false;
    FirstRunOnboarding onboarding(m_preferences, [&](const QUrl &content, QSize size) {
        wasRemembered = m_preferences.hasSeenMenuBarOnboarding();
        return FakeFloatingPanel::maker(m_panels)(content, size);
    });
    onboarding.showIfNeeded(icon);
    EXPECT_TRUE(wasRemembered);
}

TEST_F(FirstRunOnboardingTest, ShowsNothingTheSecondTime)
{
    FirstRunOnboarding onboarding = this->onboarding();
    onboarding.showIfNeeded(icon);
    onboarding.dismiss();
    onboarding.showIfNeeded(icon);
    EXPECT_EQ(m_panels.made, 1);
}

TEST_F(FirstRunOnboardingTest, ShowsNothingInALaterRun)
{
    onboarding().showIfNeeded(icon);
    onboarding().showIfNeeded(icon);
    EXPECT_EQ(m_panels.made, 1);
}

TEST_F(FirstRunOnboardingTest, LosesItsChanceWithoutAPlaceForTheIcon)
{
    onboarding().showIfNeeded(std::nullopt);
    EXPECT_TRUE(m_preferences.hasSeenMenuBarOnboarding());
    EXPECT_EQ(m_panels.made, 0);
}

TEST_F(FirstRunOnboardingTest, GoesByItselfAfterItsTime)
{
    FirstRunOnboarding onboarding = this->onboarding(50ms);
    QElapsedTimer clock;
    clock.start();
    onboarding.showIfNeeded(icon);
    EXPECT_EQ(m_panels.alive, 1);
    EXPECT_TRUE(await([this] { return m_panels.alive == 0; }));
    EXPECT_GE(clock.elapsed(), 45);
}

TEST_F(FirstRunOnboardingTest, StaysForSevenSecondsUnlessToldOtherwise)
{
    EXPECT_EQ(FirstRunOnboarding::defaultDuration, 7s);
}

TEST_F(FirstRunOnboardingTest, GoesWithAClick)
{
    FirstRunOnboarding onboarding = this->onboarding();
    onboarding.showIfNeeded(icon);
    m_panels.dismiss();
    EXPECT_EQ(m_panels.alive, 0);
}

TEST_F(FirstRunOnboardingTest, ForgetsItsTimeWithAClick)
{
    FirstRunOnboarding onboarding = this->onboarding(1h);
    onboarding.showIfNeeded(icon);
    EXPECT_TRUE(onboarding.isDismissalPending());
    m_panels.dismiss();
    EXPECT_FALSE(onboarding.isDismissalPending());
    EXPECT_EQ(m_panels.alive, 0);
}

TEST_F(FirstRunOnboardingTest, MayBeDismissedWhenNothingIsShown)
{
    FirstRunOnboarding onboarding = this->onboarding();
    onboarding.dismiss();
    EXPECT_EQ(m_panels.made, 0);
}
