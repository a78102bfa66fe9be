// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitUpdater.h"

#include "tests/Platform/PackageKitUpdaterFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace Tarnwick {
namespace {

using PackageKitUpdaterTest = PackageKitUpdaterFixture;
using Kind = UpdateResult::Kind;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

// How grave an update is, and below it what it is.
constexpr unsigned blocked = 0x50009;

TEST_F(PackageKitUpdaterTest, AsksWhichPackageHoldsTheExecutable)
{
    start();
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles"));
    EXPECT_EQ(m_kit->arguments["SearchFiles"],
              QVariantList({4ULL, QStringList("/usr/bin/tarnwick")}));
    EXPECT_THAT(m_told.canCheck, ElementsAre(true));
}

TEST_F(PackageKitUpdaterTest, IsAbsentWhereNoPackageHoldsTheExecutable)
{
    m_kit->scripts["SearchFiles"].packages.clear();
    m_updater->start(handlersFor(m_told));
    ASSERT_TRUE(await([this] { return !m_kit->calls.empty(); }));
    m_kit->scripts["SearchFiles"].packages = {{1, ownPackage}};
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_FALSE(m_told.isFound);
    m_updater->checkForUpdates();
    EXPECT_THAT(m_told.canCheck, ElementsAre(true));
}

TEST_F(PackageKitUpdaterTest, IsAbsentForACopyOutsideThePackageManagersFoldersWithoutAsking)
{
    const auto copy = makeUpdater("/home/ann/Downloads/Tarnwick/tarnwick");
    copy->start(handlersFor(m_told));
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_FALSE(m_told.isFound);
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles"));
}

TEST_F(PackageKitUpdaterTest, FetchesTheListsFirstWhenTheUserAsks)
{
    start();
    EXPECT_EQ(check(), UpdateResult());
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "RefreshCache", "GetUpdates"));
    EXPECT_THAT(m_kit->hints["RefreshCache"], Contains("interactive=true"));
    EXPECT_EQ(m_kit->arguments["RefreshCache"], QVariantList(1, false));
}

TEST_F(PackageKitUpdaterTest, CannotCheckWhileACheckRuns)
{
    start();
    ASSERT_TRUE(check());
    EXPECT_THAT(m_told.canCheck, ElementsAre(true, false, true));
    m_updater->checkForUpdates();
    m_updater->checkForUpdates();
    ASSERT_TRUE(nextResult(m_told, 1));
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_EQ(m_told.results.size(), 2U);
}

TEST_F(PackageKitUpdaterTest, FindsAnUpdateOfItsOwnPackageWithItsText)
{
    offerUpdate();
    m_kit->scripts["GetUpdateDetail"].updateText = QStringLiteral("Faster.\n");
    m_kit->scripts["GetUpdateDetail"].changeLog = QStringLiteral("1.3.0: all of it");
    start();
    EXPECT_EQ(check(),
              (UpdateResult{.kind = Kind::Available, .version = "1.3.0", .text = "Faster."}));
    EXPECT_EQ(m_kit->arguments["GetUpdateDetail"], QVariantList({QStringList(update)}));
}

TEST_F(PackageKitUpdaterTest, TellsTheChangeLogWhereThereIsNoOtherText)
{
    offerUpdate();
    m_kit->scripts["GetUpdateDetail"].changeLog = QStringLiteral("1.3.0: all of it");
    start();
    EXPECT_EQ(check()->text, "1.3.0: all of it");
}

TEST_F(PackageKitUpdaterTest, OffersAnUpdateWithoutItsTextWhenThatCannotBeHad)
{
    offerUpdate();
    m_kit->scripts["GetUpdateDetail"].error = QStringLiteral("no details");
    m_kit->scripts["GetUpdateDetail"].exit = 2;
    start();
    EXPECT_EQ(check(), (UpdateResult{.kind = Kind::Available, .version = "1.3.0", .text = ""}));
}

TEST_F(PackageKitUpdaterTest, OffersNoUpdateThatTheSystemHoldsBack)
{
    m_kit->scripts["GetUpdates"].packages = {{blocked, update}};
    start();
    EXPECT_EQ(check(), UpdateResult());
}

TEST_F(PackageKitUpdaterTest, TellsAFailureInTheServicesOwnWords)
{
    start();
    m_kit->scripts["RefreshCache"].error = QStringLiteral("Cannot reach deb.example.org\n");
    m_kit->scripts["RefreshCache"].exit = 2;
    EXPECT_EQ(check(),
              (UpdateResult{
                  .kind = Kind::Failed, .version = "", .text = "Cannot reach deb.example.org"}));
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "RefreshCache"));
    m_kit->scripts["RefreshCache"] = {};
    m_kit->scripts["GetUpdates"].refusal = QStringLiteral("not allowed");
    EXPECT_EQ(check()->text, "not allowed");
    m_kit->scripts["GetUpdates"] = {};
    EXPECT_EQ(check(), UpdateResult());
}

TEST_F(PackageKitUpdaterTest, HasWordsForAFailureWithoutAny)
{
    start();
    m_kit->scripts["RefreshCache"].exit = 3;
    EXPECT_EQ(check()->text, "PackageKit: cancelled");
    m_kit->scripts["RefreshCache"].exit = 6;
    EXPECT_EQ(check()->text, "PackageKit: failed (exit code 6)");
}

TEST_F(PackageKitUpdaterTest, TakesWhatSucceedsWithAWarningForASuccess)
{
    start();
    m_kit->scripts["RefreshCache"].error = QStringLiteral("one list is old");
    EXPECT_EQ(check(), UpdateResult());
}

TEST_F(PackageKitUpdaterTest, FailsWhenTheServiceEndsMidway)
{
    start();
    m_kit->scripts["RefreshCache"].neverEnds = true;
    m_kit->onCall = [this] {
        if (m_kit->calls.back() == QLatin1String("RefreshCache")) {
            QMetaObject::invokeMethod(
                &*m_kit, [this] { m_kit->leave(); }, Qt::QueuedConnection);
        }
    };
    const std::optional<UpdateResult> result = check();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, Kind::Failed);
    EXPECT_NE(result->text, "");
    EXPECT_TRUE(m_told.canCheck.back());
}

TEST_F(PackageKitUpdaterTest, FailsWhenTheBusGoesAndChecksAgainWhenItIsBack)
{
    start();
    m_kit->scripts["RefreshCache"].neverEnds = true;
    m_updater->checkForUpdates();
    ASSERT_TRUE(await([this] { return m_kit->calls.size() == 2; }));
    m_kit.reset();
    bus().stop();
    ASSERT_TRUE(nextResult(m_told, 0));
    EXPECT_EQ(m_told.results.back().kind, Kind::Failed);
    EXPECT_EQ(check()->kind, Kind::Failed);
    bus().start();
    m_kit.emplace(bus().address());
    EXPECT_EQ(check(), UpdateResult());
}

TEST_F(PackageKitUpdaterTest, InstallsTheUpdateThatItFound)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    EXPECT_EQ(install(), (UpdateResult{.kind = Kind::Installed, .version = "1.3.0", .text = ""}));
    EXPECT_EQ(m_kit->arguments["UpdatePackages"], QVariantList({2ULL, QStringList(update)}));
    EXPECT_THAT(m_kit->hints["UpdatePackages"], Contains("interactive=true"));
    EXPECT_THAT(m_told.canCheck, ElementsAre(true, false, true, false, true));
}

TEST_F(PackageKitUpdaterTest, OffersTheUpdateStillWhenItsInstallationFails)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_kit->scripts["UpdatePackages"].error = QStringLiteral("Failed to obtain authentication.");
    m_kit->scripts["UpdatePackages"].exit = 2;
    EXPECT_EQ(install(), (UpdateResult{.kind = Kind::Failed,
                                       .version = "",
                                       .text = "Failed to obtain authentication."}));
    m_kit->scripts["UpdatePackages"] = {};
    EXPECT_EQ(install()->kind, Kind::Installed);
}

TEST_F(PackageKitUpdaterTest, TellsWhenTheServiceOnlySaysThatItInstalledTheUpdate)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_kit->scripts["Resolve"].packages = {{1, ownPackage}};
    EXPECT_EQ(install(), (UpdateResult{.kind = Kind::Failed,
                                       .version = "",
                                       .text = "PackageKit did not install the update"}));
}

TEST_F(PackageKitUpdaterTest, InstallsNothingWhenNothingWasFound)
{
    start();
    ASSERT_TRUE(check());
    EXPECT_EQ(install(), (UpdateResult{.kind = Kind::Failed,
                                       .version = "",
                                       .text = "There is no update to install any more."}));
    EXPECT_THAT(m_kit->calls, Not(Contains("UpdatePackages")));
}

TEST_F(PackageKitUpdaterTest, MakesItsAutomaticCheckWithWhatTheSystemKnowsAlready)
{
    offerUpdate();
    m_updater->setAutomaticallyChecksForUpdates(true);
    start();
    EXPECT_EQ(nextResult(m_told, 0)->version, "1.3.0");
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "GetUpdates", "GetUpdateDetail"));
    EXPECT_THAT(m_kit->hints["GetUpdates"],
                IsSupersetOf({QString("background=true"), QString("interactive=false"),
                              QString("cache-age=4294967295")}));
}

TEST_F(PackageKitUpdaterTest, TellsOfAnAutomaticCheckNothingButNews)
{
    m_kit->scripts["GetUpdates"].exit = 2;
    m_updater->setAutomaticallyChecksForUpdates(true);
    start();
    ASSERT_TRUE(await([this] { return m_told.canCheck.size() == 3; }));
    EXPECT_THAT(m_told.results, IsEmpty());
}

TEST_F(PackageKitUpdaterTest, ChecksByItselfOnceADay)
{
    m_updater->setAutomaticallyChecksForUpdates(true);
    start();
    ASSERT_TRUE(await([this] { return m_told.canCheck.size() == 3; }));
    m_updater->checkIfDue();
    EXPECT_EQ(m_told.canCheck.size(), 3U);
    m_now = m_now.addDays(1);
    m_updater->checkIfDue();
    ASSERT_TRUE(await([this] { return m_told.canCheck.size() == 5; }));
}

TEST_F(PackageKitUpdaterTest, MayGoWhileACheckRuns)
{
    start();
    m_kit->scripts["RefreshCache"].neverEnds = true;
    m_updater->checkForUpdates();
    ASSERT_TRUE(await([this] { return m_kit->calls.size() == 2; }));
    m_updater.reset();
    m_kit->leave();
    m_kit.emplace(bus().address());
    m_kit->scripts["SearchFiles"].packages = {{1, ownPackage}};
    EXPECT_TRUE(isAnotherOneFound());
    EXPECT_THAT(m_told.results, IsEmpty());
}

TEST_F(SystemBusFixture, AnUpdaterIsAbsentWherePackageKitIs)
{
    Told alone;
    const auto updater = makeUpdater("/usr/bin/tarnwick");
    updater->start(handlersFor(alone));
    ASSERT_FALSE(await([&alone] { return alone.isFound; }, std::chrono::milliseconds(300)));
    updater->checkForUpdates();
    EXPECT_THAT(alone.canCheck, ElementsAre(true));
}

} // namespace
} // namespace Tarnwick
