// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/PackageKitUpdaterFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnection>

#include <chrono>

namespace Tarnwick {
namespace {

using Kind = UpdateResult::Kind;
using testing::ElementsAre;

/// An updater whose service, or whose bus, does not do what it should.
using PackageKitTroubleTest = PackageKitUpdaterFixture;

/// What nothing else may take while the bus hangs: far less than the 25 seconds after which a wait
/// for the bus would give up.
constexpr std::chrono::seconds atOnce{5};

/// In which a thread that connects surely comes to its wait for the bus.
constexpr std::chrono::milliseconds longEnoughToConnect{200};

TEST_F(PackageKitTroubleTest, KeepsNoOtherConnectionWaitingForASystemBusThatDoesNotAnswer)
{
    const PrivateBus other;
    bus().pause();
    m_updater->start(handlersFor(m_told));
    EXPECT_FALSE(await([this] { return m_told.isFound; }, longEnoughToConnect));
    const auto before = std::chrono::steady_clock::now();
    const QString name = QStringLiteral("another-bus");
    EXPECT_TRUE(
        QDBusConnection::connectToBus(QString::fromStdString(other.address()), name).isConnected());
    EXPECT_LT(std::chrono::steady_clock::now() - before, atOnce);
    QDBusConnection::disconnectFromBus(name);
    bus().resume();
    EXPECT_TRUE(await([this] { return m_told.isFound; }));
}

TEST_F(PackageKitTroubleTest, InstallsTheUpdateThatItToldOfAfterAnAutomaticCheckHasFailed)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_kit->scripts["GetUpdates"].exit = 2;
    checkByItself();
    EXPECT_EQ(m_told.results.size(), 1U);
    EXPECT_EQ(install()->kind, Kind::Installed);
}

TEST_F(PackageKitTroubleTest, TellsThatTheUpdateItToldOfIsThereNoMore)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_kit->scripts["GetUpdates"] = {};
    checkByItself();
    ASSERT_EQ(m_told.results.size(), 2U);
    EXPECT_EQ(m_told.results.back(), UpdateResult());
    EXPECT_EQ(install()->text, "There is no update to install any more.");
}

TEST_F(PackageKitTroubleTest, TellsThatItCannotInstallWhileACheckRuns)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_updater->checkForUpdates();
    EXPECT_EQ(install(),
              (UpdateResult{.kind = Kind::Failed,
                            .version = "",
                            .text = "PackageKit is busy with another request. Try again later."}));
    ASSERT_TRUE(nextResult(m_told, 2));
    EXPECT_EQ(install()->kind, Kind::Installed);
}

TEST_F(PackageKitTroubleTest, ChecksAgainWithinTheDayAfterAFailure)
{
    start();
    m_kit->scripts["GetUpdates"].exit = 2;
    checkByItself();
    offerUpdate();
    m_kit->scripts["GetUpdates"].exit = 1;
    m_updater->checkIfDue();
    ASSERT_TRUE(nextResult(m_told, 0));
    EXPECT_EQ(m_told.results.back().kind, Kind::Available);
}

TEST_F(PackageKitTroubleTest, SearchesForItsPackageAgainAfterAFailure)
{
    m_kit->scripts["SearchFiles"].exit = 2;
    m_updater->start(handlersFor(m_told));
    ASSERT_TRUE(await([this] { return m_kit->calls.size() == 1; }));
    m_kit->scripts["SearchFiles"].exit = 1;
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_FALSE(m_told.isFound);
    m_updater->checkIfDue();
    EXPECT_TRUE(await([this] { return m_told.isFound; }));
}

TEST_F(PackageKitTroubleTest, SearchesForItsPackageNoMoreAfterAnAnswer)
{
    m_kit->scripts["SearchFiles"].packages.clear();
    m_updater->start(handlersFor(m_told));
    ASSERT_TRUE(await([this] { return m_kit->calls.size() == 1; }));
    m_kit->scripts["SearchFiles"].packages = {{1, ownPackage}};
    ASSERT_TRUE(isAnotherOneFound());
    m_updater->checkIfDue();
    ASSERT_TRUE(isAnotherOneFound());
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "SearchFiles", "SearchFiles"));
}

} // namespace
} // namespace Tarnwick
