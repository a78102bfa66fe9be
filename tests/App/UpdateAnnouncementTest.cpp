// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdateAnnouncement.h"

#include "App/UpdaterController.h"
#include "Core/MainThread.h"
#include "Platform/fake/FakeNotifier.h"
#include "Platform/fake/FakeUpdater.h"
#include "tests/Support/EventLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSignalSpy>

#include <memory>
#include <string>
#include <utility>

using namespace Tarnwick;
using Kind = UpdateResult::Kind;
using Stage = UpdaterController::Stage;
using testing::ElementsAre;

namespace {

class UpdateAnnouncementTest : public testing::Test
{
protected:
    UpdateAnnouncementTest()
    {
        auto updater = std::make_unique<FakeUpdater>();
        m_updater = updater.get();
        m_controller = std::make_unique<UpdaterController>(std::move(updater));
        m_announcement = std::make_unique<UpdateAnnouncement>(*m_controller, m_notifier);
        m_updater->handlers.found();
        m_updater->calls.clear();
    }

    void report(Kind kind)
    {
        m_updater->handlers.ended({.kind = kind, .version = "2", .text = {}});
        bool turned = false;
        MainThread::post([&turned] { turned = true; });
        ASSERT_TRUE(await([&turned] { return turned; }));
    }

    FakeNotifier m_notifier;
    FakeUpdater *m_updater = nullptr;
    std::unique_ptr<UpdaterController> m_controller;
    std::unique_ptr<UpdateAnnouncement> m_announcement;
};

} // namespace

TEST_F(UpdateAnnouncementTest, NotifiesOfAnUpdateThatAnAutomaticCheckHasFound)
{
    report(Kind::Available);
    ASSERT_TRUE(m_notifier.shown);
    EXPECT_EQ(m_notifier.shown->title, "Tarnwick 2 is available.");
    EXPECT_EQ(m_controller->stage(), Stage::None);
    EXPECT_THAT(m_updater->calls, ElementsAre());
}

TEST_F(UpdateAnnouncementTest, NotifiesOfNothingThatTheUserHasAskedFor)
{
    m_controller->checkForUpdates();
    report(Kind::Available);
    EXPECT_EQ(m_notifier.count, 0);
}

TEST_F(UpdateAnnouncementTest, ShowsTheUpdateWhenTheNotificationIsActivated)
{
    report(Kind::Available);
    const QSignalSpy asked(m_controller.get(), &UpdaterController::askedFor);
    m_notifier.handlers.activated();
    EXPECT_EQ(m_controller->stage(), Stage::Available);
    EXPECT_EQ(asked.count(), 1);
}

TEST_F(UpdateAnnouncementTest, CountsTheUpdateAsSeenWhenTheNotificationIsDismissed)
{
    report(Kind::Available);
    m_notifier.handlers.dismissed();
    EXPECT_EQ(m_controller->stage(), Stage::None);
    EXPECT_THAT(m_updater->calls, ElementsAre("seen 2"));
}

TEST_F(UpdateAnnouncementTest, ShowsTheUpdateUnaskedWhereThereAreNoNotifications)
{
    report(Kind::Available);
    const QSignalSpy asked(m_controller.get(), &UpdaterController::askedFor);
    m_notifier.handlers.failed();
    EXPECT_EQ(m_controller->stage(), Stage::Available);
    EXPECT_EQ(asked.count(), 0);
    EXPECT_THAT(m_updater->calls, ElementsAre());
}

TEST_F(UpdateAnnouncementTest, WithdrawsTheNotificationOfWhatIsShownOrThereNoMore)
{
    report(Kind::Available);
    m_controller->showUpdate();
    EXPECT_FALSE(m_notifier.shown);
    m_controller->dismiss();
    report(Kind::Available);
    EXPECT_TRUE(m_notifier.shown);
    report(Kind::UpToDate);
    EXPECT_FALSE(m_notifier.shown);
}
