// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdateWindow.h"

#include "App/UpdaterController.h"
#include "Core/MainThread.h"
#include "Platform/fake/FakeOrdinaryWindow.h"
#include "Platform/fake/FakeUpdater.h"
#include "tests/Support/EventLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

using namespace Tarnwick;
using Kind = UpdateResult::Kind;
using Stage = UpdaterController::Stage;

namespace {

class UpdateWindowTest : public testing::Test
{
protected:
    UpdateWindowTest()
    {
        auto updater = std::make_unique<FakeUpdater>();
        m_updater = updater.get();
        m_controller = std::make_unique<UpdaterController>(std::move(updater));
        m_window =
            std::make_unique<UpdateWindow>(*m_controller, FakeOrdinaryWindow::maker(m_windows));
    }

    void find()
    {
        m_updater->handlers.found();
        turn();
    }
    void report(Kind kind)
    {
        m_updater->handlers.ended({.kind = kind, .version = "2", .text = {}});
        turn();
    }
    /// Runs what is on its way to the main thread.
    static void turn()
    {
        bool turned = false;
        MainThread::post([&turned] { turned = true; });
        ASSERT_TRUE(await([&turned] { return turned; }));
    }

    FakeOrdinaryWindow::Record m_windows;
    FakeUpdater *m_updater = nullptr;
    std::unique_ptr<UpdaterController> m_controller;
    std::unique_ptr<UpdateWindow> m_window;
};

} // namespace

TEST_F(UpdateWindowTest, IsNotThereBeforeAnythingHappens)
{
    find();
    EXPECT_EQ(m_windows.made, 0);
}

TEST_F(UpdateWindowTest, OpensWithoutAWorkingUpdaterTooToSayWhy)
{
    m_controller->checkForUpdates();
    report(Kind::Unavailable);
    EXPECT_EQ(m_windows.shown, 1);
    EXPECT_EQ(m_windows.alive, 1);
}

TEST_F(UpdateWindowTest, OpensWhenTheUserChecks)
{
    find();
    m_controller->checkForUpdates();
    EXPECT_EQ(m_windows.shown, 1);
    EXPECT_EQ(m_windows.description.content.toString(),
              "qrc:/qt/qml/Tarnwick/UI/UpdatesRootView.qml");
    EXPECT_EQ(m_windows.description.identifier, "Tarnwick.Updates");
}

TEST_F(UpdateWindowTest, TakesNoKeyboardAgainWhenTheCheckEnds)
{
    find();
    m_controller->checkForUpdates();
    report(Kind::UpToDate);
    EXPECT_EQ(m_windows.shown, 1);
    EXPECT_EQ(m_windows.alive, 1);
}

TEST_F(UpdateWindowTest, StaysAwayWhenAnAutomaticCheckHasFoundAnUpdate)
{
    find();
    report(Kind::Available);
    EXPECT_EQ(m_windows.made, 0);
}

TEST_F(UpdateWindowTest, OpensWithAnUpdateWhenTheUserWantsToSeeIt)
{
    find();
    report(Kind::Available);
    m_controller->showUpdate();
    EXPECT_EQ(m_windows.shown, 1);
    EXPECT_EQ(m_windows.shownWithoutFocus, 0);
}

TEST_F(UpdateWindowTest, TakesNoKeyboardWhereNobodyAskedForIt)
{
    find();
    report(Kind::Available);
    m_controller->showUpdate(UpdaterController::Showing::Unasked);
    EXPECT_EQ(m_windows.shownWithoutFocus, 1);
    m_controller->installUpdate();
    m_windows.closed();
    report(Kind::Installed);
    EXPECT_EQ(m_windows.shownWithoutFocus, 2);
    EXPECT_EQ(m_windows.shown, 0);
}

TEST_F(UpdateWindowTest, ComesForwardWhenTheUserChecksAgain)
{
    find();
    m_controller->checkForUpdates();
    report(Kind::UpToDate);
    m_controller->checkForUpdates();
    EXPECT_EQ(m_windows.made, 1);
    EXPECT_EQ(m_windows.shown, 2);
}

TEST_F(UpdateWindowTest, ComesForwardWhenTheUserChecksWhileSomethingRuns)
{
    find();
    m_updater->handlers.canCheckForUpdates(false);
    turn();
    m_controller->checkForUpdates();
    m_controller->checkForUpdates();
    EXPECT_EQ(m_windows.shown, 2);
    report(Kind::Available);
    m_controller->installUpdate();
    const int before = m_windows.shown;
    m_controller->checkForUpdates();
    EXPECT_EQ(m_windows.shown, before + 1);
    EXPECT_EQ(m_windows.made, 1);
}

TEST_F(UpdateWindowTest, GoesWhenTheUserClosesIt)
{
    find();
    m_controller->checkForUpdates();
    m_windows.closed();
    EXPECT_EQ(m_windows.alive, 0);
    EXPECT_EQ(m_controller->stage(), Stage::None);
}

TEST_F(UpdateWindowTest, StaysAwayAfterTheUserHasClosedIt)
{
    find();
    m_controller->checkForUpdates();
    m_windows.closed();
    report(Kind::UpToDate);
    EXPECT_EQ(m_windows.alive, 0);
    m_controller->checkForUpdates();
    m_windows.closed();
    report(Kind::Failed);
    EXPECT_EQ(m_windows.alive, 0);
    report(Kind::Available);
    EXPECT_EQ(m_windows.alive, 0);
}
