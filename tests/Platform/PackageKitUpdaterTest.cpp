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
// PkErrorEnum.
constexpr unsigned notAuthorized = 48;

const char *const notPackaged = "This copy of Tarnwick was not installed by a package manager";

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
    EXPECT_EQ(check()->kind, Kind::Unavailable);
    EXPECT_THAT(m_told.results.back().text, testing::StartsWith(notPackaged));
    EXPECT_THAT(m_told.results.back().text, testing::EndsWith("/usr/bin/tarnwick"));
    EXPECT_FALSE(m_told.isFound);
    EXPECT_THAT(m_told.canCheck, ElementsAre(true));
}

TEST_F(PackageKitUpdaterTest, IsAbsentForACopyOutsideThePackageManagersFoldersWithoutAsking)
{
    m_updater = makeUpdater("/home/ann/Downloads/Tarnwick/tarnwick");
    m_updater->start(handlersFor(m_told));
    EXPECT_EQ(check()->kind, Kind::Unavailable);
    EXPECT_THAT(m_told.results.back().text, testing::StartsWith(notPackaged));
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_FALSE(m_told.isFound);
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles"));
}

TEST_F(PackageKitUpdaterTest, ChecksForTheUserWhoAsksBeforeItHasFoundItsPackage)
{
    m_updater->start(handlersFor(m_told));
    EXPECT_EQ(check(), UpdateResult());
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "RefreshCache", "GetUpdates"));
    EXPECT_TRUE(m_told.isFound);
}

TEST_F(PackageKitUpdaterTest, TellsNothingOfACheckThatWasCancelledBeforeItHasFoundItsPackage)
{
    m_updater->start(handlersFor(m_told));
    m_updater->checkForUpdates();
    m_updater->cancelCheck();
    ASSERT_TRUE(isAnotherOneFound());
    ASSERT_TRUE(await([this] { return m_told.isFound; }));
    EXPECT_THAT(m_told.results, IsEmpty());
    EXPECT_THAT(m_kit->calls, Not(Contains("RefreshCache")));
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

TEST_F(PackageKitUpdaterTest, SaysThatTheSystemHoldsAnUpdateBackAndOffersItNot)
{
    m_kit->scripts["GetUpdates"].packages = {{blocked, update}};
    start();
    const std::optional<UpdateResult> result = check();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, Kind::Held);
    EXPECT_EQ(result->version, "1.3.0");
    EXPECT_THAT(result->text, testing::StartsWith("The system holds this update back"));
    EXPECT_EQ(install()->kind, Kind::Failed);
}

TEST_F(PackageKitUpdaterTest, AsksTheListsThatThereAreWhenTheRefreshIsRefused)
{
    m_kit->scripts["RefreshCache"].error = QStringLiteral("Failed to obtain authentication.");
    m_kit->scripts["RefreshCache"].errorCode = notAuthorized;
    m_kit->scripts["RefreshCache"].exit = 2;
    start();
    UpdateResult upToDate;
    upToDate.text = "The lists of packages could not be refreshed, so they may be old: "
                    "Failed to obtain authentication.";
    EXPECT_EQ(check(), upToDate);
    offerUpdate();
    m_kit->scripts["GetUpdateDetail"].updateText = QStringLiteral("Faster.");
    EXPECT_EQ(check(), (UpdateResult{.kind = Kind::Available,
                                     .version = "1.3.0",
                                     .text = upToDate.text + "\n\nFaster."}));
    EXPECT_EQ(install()->kind, Kind::Installed);
}

TEST_F(PackageKitUpdaterTest, AsksTheListsThatThereAreWhenThePolicyForbidsTheRefresh)
{
    m_kit->scripts["RefreshCache"].refusal = QStringLiteral("no");
    offerUpdate();
    start();
    EXPECT_EQ(check()->kind, Kind::Available);
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
    EXPECT_EQ(result->text, "PackageKit ended before it was done.");
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
    EXPECT_THAT(m_told.results.back().text,
                testing::StartsWith("The system bus cannot be reached: "));
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

TEST_F(PackageKitUpdaterTest, SaysOfAnUpdateWhetherTheUserHasSeenIt)
{
    offerUpdate();
    start();
    EXPECT_FALSE(check()->isSeen);
    m_updater->recordSeen("1.3.0");
    EXPECT_TRUE(check()->isSeen);
    m_updater->recordSeen("1.2.9");
    EXPECT_FALSE(check()->isSeen);
}

TEST_F(PackageKitUpdaterTest, ReportsAnUpdateThatIsKnownAgainAfterTheNextStart)
{
    offerUpdate();
    m_updater->setAutomaticallyChecksForUpdates(true);
    start();
    ASSERT_TRUE(nextResult(m_told, 0));
    m_updater = makeUpdater("/usr/bin/tarnwick");
    start();
    EXPECT_EQ(nextResult(m_told, 1)->version, "1.3.0");
    EXPECT_EQ(install()->kind, Kind::Installed);
    m_updater = makeUpdater("/usr/bin/tarnwick");
    m_told.isFound = false;
    start();
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_EQ(m_told.results.size(), 3U);
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
    updater->checkForUpdates();
    const std::optional<UpdateResult> result = nextResult(alone, 0);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, Kind::Unavailable);
    EXPECT_EQ(result->text, "PackageKit is not installed or not running.");
    EXPECT_FALSE(alone.isFound);
    EXPECT_THAT(alone.canCheck, ElementsAre(true));
}

} // namespace
} // namespace Tarnwick
