// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdaterController.h"

#include "Core/MainThread.h"
#include "Platform/fake/FakeUpdater.h"
#include "tests/Support/EventLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSignalSpy>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using Stage = UpdaterController::Stage;
using Kind = UpdateResult::Kind;

namespace {

/// Runs what is on its way to the main thread.
void turn()
{
    bool turned = false;
    MainThread::post([&turned] { turned = true; });
    ASSERT_TRUE(await([&turned] { return turned; }));
}

class UpdaterControllerTest : public testing::Test
{
protected:
    UpdaterControllerTest()
    {
        auto updater = std::make_unique<FakeUpdater>();
        m_updater = updater.get();
        m_controller = std::make_unique<UpdaterController>(std::move(updater));
    }

    void find()
    {
        m_updater->handlers.found();
        turn();
    }
    void report(Kind kind, const std::string &version = {}, const std::string &text = {})
    {
        m_updater->handlers.ended({.kind = kind, .version = version, .text = text});
        turn();
    }
    /// What the user's check finds.
    void findUpdate(const std::string &version, const std::string &text = {})
    {
        m_controller->checkForUpdates();
        report(Kind::Available, version, text);
        m_updater->calls.pop_back();
    }
    void allow(bool can)
    {
        m_updater->handlers.canCheckForUpdates(can);
        turn();
    }

    FakeUpdater *m_updater = nullptr;
    std::unique_ptr<UpdaterController> m_controller;
};

TEST_F(UpdaterControllerTest, StartsTheUpdaterWhenItIsMade)
{
    EXPECT_THAT(m_updater->calls, ElementsAre("start"));
}

TEST_F(UpdaterControllerTest, CanCheckBeforeTheUpdaterHasSaidAnything)
{
    EXPECT_TRUE(m_controller->canCheckForUpdates());
    EXPECT_EQ(m_controller->stage(), Stage::None);
}

TEST_F(UpdaterControllerTest, CannotCheckWhileACheckRuns)
{
    const QSignalSpy changes(m_controller.get(), &UpdaterController::canCheckForUpdatesChanged);
    allow(true);
    allow(false);
    EXPECT_FALSE(m_controller->canCheckForUpdates());
    allow(true);
    EXPECT_TRUE(m_controller->canCheckForUpdates());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(UpdaterControllerTest, TakesWhatIsReportedOnAnotherThreadOnTheMainThread)
{
    std::thread::id told;
    QObject::connect(m_controller.get(), &UpdaterController::canCheckForUpdatesChanged,
                     [&told] { told = std::this_thread::get_id(); });
    std::thread([this] { m_updater->handlers.canCheckForUpdates(false); }).join();
    EXPECT_TRUE(m_controller->canCheckForUpdates());
    turn();
    EXPECT_FALSE(m_controller->canCheckForUpdates());
    EXPECT_EQ(told, std::this_thread::get_id());
}

TEST_F(UpdaterControllerTest, OutlivesNoReportOfItsUpdater)
{
    const Updater::Handlers handlers = m_updater->handlers;
    handlers.canCheckForUpdates(false);
    m_controller.reset();
    handlers.ended({});
    turn();
}

TEST_F(UpdaterControllerTest, HasNoWorkingUpdaterBeforeOneWasFound)
{
    m_updater->isAutomatic = true;
    EXPECT_FALSE(m_controller->isAvailable());
    EXPECT_FALSE(m_controller->automaticallyChecksForUpdates());
    m_controller->setAutomaticallyChecksForUpdates(false);
    EXPECT_TRUE(m_updater->isAutomatic);
}

TEST_F(UpdaterControllerTest, SaysWhyThereIsNoWorkingUpdaterToWhoeverChecks)
{
    m_controller->checkForUpdates();
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "check"));
    report(Kind::Unavailable, {}, "PackageKit is not installed.");
    EXPECT_EQ(m_controller->stage(), Stage::Unavailable);
    EXPECT_EQ(m_controller->headline(), "Tarnwick cannot check for updates here.");
    EXPECT_EQ(m_controller->details(), "PackageKit is not installed.");
}

TEST_F(UpdaterControllerTest, TellsWhenAWorkingUpdaterWasFound)
{
    m_updater->isAutomatic = true;
    const QSignalSpy available(m_controller.get(), &UpdaterController::isAvailableChanged);
    const QSignalSpy automatic(m_controller.get(),
                               &UpdaterController::automaticallyChecksForUpdatesChanged);
    find();
    EXPECT_TRUE(m_controller->isAvailable());
    EXPECT_TRUE(m_controller->automaticallyChecksForUpdates());
    EXPECT_EQ(available.count(), 1);
    EXPECT_EQ(automatic.count(), 1);
}

TEST_F(UpdaterControllerTest, KeepsTheChoiceOfAutomaticChecksInTheUpdater)
{
    find();
    const QSignalSpy changes(m_controller.get(),
                             &UpdaterController::automaticallyChecksForUpdatesChanged);
    m_controller->setAutomaticallyChecksForUpdates(true);
    m_controller->setAutomaticallyChecksForUpdates(true);
    EXPECT_TRUE(m_updater->isAutomatic);
    EXPECT_TRUE(m_controller->automaticallyChecksForUpdates());
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(UpdaterControllerTest, ChecksWhenTheUserAsks)
{
    find();
    m_controller->checkForUpdates();
    EXPECT_EQ(m_controller->stage(), Stage::Checking);
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "check"));
}

TEST_F(UpdaterControllerTest, ShowsAnAutomaticCheckThatRunsAndMakesItTheUsers)
{
    find();
    allow(false);
    m_controller->checkForUpdates();
    EXPECT_EQ(m_controller->stage(), Stage::Checking);
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "check"));
}

TEST_F(UpdaterControllerTest, ShowsTheInstallationThatRunsToWhoeverChecks)
{
    find();
    findUpdate("1.3.0");
    m_controller->installUpdate();
    m_controller->dismiss();
    m_controller->checkForUpdates();
    EXPECT_EQ(m_controller->stage(), Stage::Installing);
    EXPECT_EQ(m_controller->version(), "1.3.0");
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "seen 1.3.0", "install"));
}

TEST_F(UpdaterControllerTest, CancelsTheCheckWhoseCourseIsDismissed)
{
    find();
    m_controller->checkForUpdates();
    m_controller->dismiss();
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "check", "cancel"));
    report(Kind::Available, "1.3.0");
    m_controller->dismiss();
    EXPECT_THAT(m_updater->calls, testing::Not(testing::Contains("install")));
    EXPECT_EQ(std::count(m_updater->calls.begin(), m_updater->calls.end(), "cancel"), 1);
}

TEST_F(UpdaterControllerTest, ShowsThatThereIsNothingNew)
{
    find();
    m_controller->checkForUpdates();
    report(Kind::UpToDate);
    EXPECT_EQ(m_controller->stage(), Stage::UpToDate);
    EXPECT_EQ(m_controller->headline(), "Tarnwick is up to date.");
    EXPECT_EQ(m_controller->details(), "");
}

TEST_F(UpdaterControllerTest, ShowsAndInstallsAnUpdate)
{
    find();
    findUpdate("1.3.0", "Faster.");
    EXPECT_EQ(m_controller->stage(), Stage::Available);
    EXPECT_EQ(m_controller->version(), "1.3.0");
    EXPECT_EQ(m_controller->headline(), "Tarnwick 1.3.0 is available.");
    EXPECT_EQ(m_controller->details(), "Faster.");
    m_controller->installUpdate();
    EXPECT_EQ(m_controller->stage(), Stage::Installing);
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "seen 1.3.0", "install"));
    report(Kind::Installed, "1.3.0");
    EXPECT_EQ(m_controller->stage(), Stage::Installed);
    EXPECT_EQ(m_controller->version(), "1.3.0");
}

TEST_F(UpdaterControllerTest, InstallsNothingWhenNothingIsAvailable)
{
    find();
    m_controller->installUpdate();
    report(Kind::UpToDate);
    m_controller->installUpdate();
    EXPECT_THAT(m_updater->calls, ElementsAre("start"));
}

TEST_F(UpdaterControllerTest, ShowsAFailureInTheUpdatersOwnWords)
{
    find();
    m_controller->checkForUpdates();
    report(Kind::Failed, {}, "Cannot reach deb.example.org");
    EXPECT_EQ(m_controller->stage(), Stage::CheckFailed);
    EXPECT_EQ(m_controller->headline(), "The check for updates failed.");
    EXPECT_EQ(m_controller->details(), "Cannot reach deb.example.org");
}

TEST_F(UpdaterControllerTest, SaysThatAnUpdateIsHeldBackAndInstallsItNot)
{
    find();
    m_controller->checkForUpdates();
    report(Kind::Held, "1.3.0", "It is on hold.");
    EXPECT_EQ(m_controller->stage(), Stage::Held);
    EXPECT_EQ(m_controller->headline(), "Tarnwick 1.3.0 is held back.");
    EXPECT_EQ(m_controller->details(), "It is on hold.");
    EXPECT_EQ(m_controller->availability(), "");
    m_controller->installUpdate();
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "check"));
}

TEST_F(UpdaterControllerTest, ShowsWhatBecameOfAnInstallationAfterItWasDismissed)
{
    find();
    findUpdate("2.0");
    m_controller->installUpdate();
    m_controller->dismiss();
    report(Kind::Failed, {}, "no space left");
    EXPECT_EQ(m_controller->stage(), Stage::InstallationFailed);
    EXPECT_EQ(m_controller->headline(), "The update could not be completed.");
}

TEST_F(UpdaterControllerTest, ShowsNothingAfterItWasDismissed)
{
    find();
    m_controller->checkForUpdates();
    m_controller->dismiss();
    report(Kind::Failed);
    EXPECT_EQ(m_controller->stage(), Stage::None);
    report(Kind::UpToDate);
    EXPECT_EQ(m_controller->stage(), Stage::None);
    EXPECT_EQ(m_controller->headline(), "");
}

TEST_F(UpdaterControllerTest, AnnouncesWhatAnAutomaticCheckHasFoundAndShowsItOnDemand)
{
    find();
    const QSignalSpy announced(m_controller.get(), &UpdaterController::updateFound);
    report(Kind::Available, "2.0", "Faster.");
    EXPECT_EQ(announced.count(), 1);
    EXPECT_EQ(m_controller->stage(), Stage::None);
    EXPECT_EQ(m_controller->availability(), "Tarnwick 2.0 is available.");
    m_controller->showUpdate();
    EXPECT_EQ(m_controller->stage(), Stage::Available);
    EXPECT_EQ(m_controller->details(), "Faster.");
    m_controller->installUpdate();
    report(Kind::Installed, "2.0");
    EXPECT_EQ(m_controller->availability(), "");
}

TEST_F(UpdaterControllerTest, CountsAnUpdateAsSeenOnlyWhenTheUserHasReactedToIt)
{
    find();
    report(Kind::Available, "2.0");
    m_controller->showUpdate(UpdaterController::Showing::Unasked);
    EXPECT_THAT(m_updater->calls, ElementsAre("start"));
    m_controller->dismiss();
    EXPECT_THAT(m_updater->calls, ElementsAre("start", "seen 2.0"));
    EXPECT_EQ(m_controller->availability(), "Tarnwick 2.0 is available.");
}

TEST_F(UpdaterControllerTest, AnnouncesNothingThatTheUserHasSeenOrWaitsFor)
{
    find();
    const QSignalSpy announced(m_controller.get(), &UpdaterController::updateFound);
    m_updater->handlers.ended(
        {.kind = Kind::Available, .version = "2.0", .text = {}, .isSeen = true});
    turn();
    EXPECT_EQ(m_controller->availability(), "Tarnwick 2.0 is available.");
    m_controller->checkForUpdates();
    report(Kind::Available, "2.1");
    EXPECT_EQ(m_controller->stage(), Stage::Available);
    EXPECT_EQ(announced.count(), 0);
}

TEST_F(UpdaterControllerTest, ForgetsAnUpdateThatIsThereNoMoreAndKeepsItOverAFailure)
{
    find();
    report(Kind::Available, "2.0");
    report(Kind::Failed);
    EXPECT_EQ(m_controller->availability(), "Tarnwick 2.0 is available.");
    report(Kind::UpToDate);
    EXPECT_EQ(m_controller->availability(), "");
    m_controller->showUpdate();
    EXPECT_EQ(m_controller->stage(), Stage::None);
}

} // namespace
