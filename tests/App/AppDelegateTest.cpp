// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppDelegate.h"

#include "tests/App/AppDelegateFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QString>

#include <optional>
#include <string>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr StatusClick rightClick{.button = StatusClick::Button::Right};
constexpr StatusClick controlClick{.withControl = true};

class AppDelegateTest : public AppDelegateFixture
{
protected:
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
};

} // namespace

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
