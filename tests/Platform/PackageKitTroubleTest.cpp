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
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const UpdateResult notAnswered{
    .kind = Kind::Failed, .version = "", .text = "PackageKit has not answered for a long time."};

/// Enough for a service that answers.
constexpr std::chrono::milliseconds shortPatience{1500};

/// An updater whose service, or whose bus, does not do what it should.
class PackageKitTroubleTest : public PackageKitUpdaterFixture
{
protected:
    /// Begins a check that the service never ends.
    void beginEndlessCheck()
    {
        m_kit->scripts["RefreshCache"].neverEnds = true;
        m_updater->checkForUpdates();
        ASSERT_TRUE(await([this] { return !m_kit->calls.empty() && isLast("RefreshCache"); }));
    }

    [[nodiscard]] bool isLast(const char *method) const
    {
        return m_kit->calls.back() == QLatin1String(method);
    }

    /// Goes on with an updater of that patience, and of endless patience otherwise.
    void startWith(const PackageKitUpdater::Patience &patience)
    {
        m_patience = patience;
        m_updater = makeUpdater("/usr/bin/tarnwick");
        start();
    }
};

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

TEST_F(PackageKitTroubleTest, CancelsTheCheckThatTheUserWantsNoMoreAndChecksAgain)
{
    start();
    beginEndlessCheck();
    m_updater->cancelCheck();
    EXPECT_TRUE(m_told.canCheck.back());
    EXPECT_TRUE(await([this] { return isLast("Cancel"); }));
    m_kit->scripts["RefreshCache"].neverEnds = false;
    EXPECT_EQ(check(), UpdateResult());
    EXPECT_EQ(m_told.results.size(), 1U);
}

TEST_F(PackageKitTroubleTest, CancelsACheckBeforeTheBusHasLetItIn)
{
    start();
    bus().pause();
    m_updater->checkForUpdates();
    m_updater->cancelCheck();
    EXPECT_TRUE(m_told.canCheck.back());
    bus().resume();
    EXPECT_EQ(check(), UpdateResult());
    EXPECT_EQ(m_told.results.size(), 1U);
    EXPECT_THAT(m_kit->calls, ElementsAre("SearchFiles", "RefreshCache", "GetUpdates"));
}

TEST_F(PackageKitTroubleTest, CancelsNoInstallation)
{
    offerUpdate();
    start();
    ASSERT_TRUE(check());
    m_updater->installUpdate();
    m_updater->cancelCheck();
    EXPECT_FALSE(m_told.canCheck.back());
    EXPECT_EQ(nextResult(m_told, 1)->kind, Kind::Installed);
    EXPECT_THAT(m_kit->calls, Not(Contains("Cancel")));
}

TEST_F(PackageKitTroubleTest, LooksAnewForTheUserWhoAsksDuringAnAutomaticCheck)
{
    start();
    m_kit->onCall = [this] {
        if (isLast("GetUpdates")) {
            m_updater->checkForUpdates();
        }
    };
    m_updater->setAutomaticallyChecksForUpdates(true);
    EXPECT_EQ(nextResult(m_told, 0), UpdateResult());
    EXPECT_THAT(m_kit->calls,
                ElementsAre("SearchFiles", "GetUpdates", "RefreshCache", "GetUpdates"));
}

TEST_F(PackageKitTroubleTest, EndsACheckOfWhichNothingIsHeard)
{
    startWith({.check = shortPatience});
    beginEndlessCheck();
    EXPECT_EQ(nextResult(m_told, 0), notAnswered);
    EXPECT_TRUE(m_told.canCheck.back());
    EXPECT_TRUE(await([this] { return isLast("Cancel"); }));
}

TEST_F(PackageKitTroubleTest, EndsAnInstallationOfWhichNothingIsHeard)
{
    offerUpdate();
    startWith({.installation = shortPatience});
    ASSERT_TRUE(check());
    m_kit->scripts["UpdatePackages"].neverEnds = true;
    EXPECT_EQ(install(), notAnswered);
}

TEST_F(PackageKitTroubleTest, HasPatienceWithAnInstallationThatGoesForward)
{
    offerUpdate();
    startWith({.installation = shortPatience});
    ASSERT_TRUE(check());
    m_kit->scripts["UpdatePackages"].steps = 2 * (shortPatience / PackageKitStandIn::stepPause);
    EXPECT_EQ(install()->kind, Kind::Installed);
}

TEST_F(PackageKitTroubleTest, EndsACheckThatTheBusNeverLetsIn)
{
    startWith({.check = shortPatience});
    bus().pause();
    m_updater->checkForUpdates();
    EXPECT_EQ(nextResult(m_told, 0)->kind, Kind::Failed);
    EXPECT_TRUE(m_told.canCheck.back());
    bus().resume();
}

} // namespace
} // namespace Tarnwick
