// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UnansweredCalls.h"
#include "Platform/linux/BusLink.h"
#include "tests/Link/ClientFixture.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>

using namespace Tarnwick;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

const char *const interrupted = "[helper] XPC connection interrupted";
const char *const invalidated = "[helper] XPC connection invalidated";

/// Whatever the bus says when it loses a request.
testing::Matcher<std::string> proxyError()
{
    return testing::AllOf(StartsWith("[helper] proxy error: "),
                          testing::Ne("[helper] proxy error: "));
}

class HelperConnectionTest : public ClientFixture
{
protected:
    /// Has the helper run, and this client know it.
    void connect()
    {
        ASSERT_TRUE(outcome(scan()).has_value());
        ASSERT_THAT(m_log.messages(), IsEmpty());
    }

    /// Whether a scan succeeds in time; one that is lost is followed by another, as the monitor's
    /// are.
    [[nodiscard]] bool connectAgain()
    {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            const std::size_t lost = UnansweredCalls::count();
            const Scan asked = scan();
            const auto settled = [&asked, lost] {
                return asked.isThere() || UnansweredCalls::count() > lost;
            };
            if (await(settled) && asked.isThere()) {
                return true;
            }
        }
        return false;
    }
};

} // namespace

TEST_F(HelperConnectionTest, StartsTheHelperFromBesideAndListsAListener)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    EXPECT_TRUE(lists(puppet.pid(), port));
    EXPECT_THAT(m_log.messages(), IsEmpty());
    const RunningHelper helper(m_bus);
    EXPECT_EQ(m_program.relationOf(helper.pid()), HelperProgram::Relation::Same);
}

TEST_F(HelperConnectionTest, EndsAListener)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    ASSERT_TRUE(lists(puppet.pid(), port));
    EXPECT_EQ(outcome(kill(puppet.pid())), KillResult::Terminated);
    EXPECT_TRUE(puppet.awaitEnd());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, EndsAListenerThatAHelperShowedWhichHasEnded)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    ASSERT_TRUE(lists(puppet.pid(), port));
    RunningHelper(m_bus).signal(SIGKILL);
    ASSERT_TRUE(awaitLines(1));
    EXPECT_EQ(outcome(kill(puppet.pid())), KillResult::Terminated);
    EXPECT_TRUE(puppet.awaitEnd());
    EXPECT_THAT(m_log.messages(), ElementsAre(interrupted));
}

TEST_F(HelperConnectionTest, EndsNoOtherProgramWhoseIdentifierAHelperShowedWhichHasEnded)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    ASSERT_TRUE(lists(puppet.pid(), port));
    RunningHelper(m_bus).signal(SIGKILL);
    ASSERT_TRUE(awaitLines(1));
    const TemporaryCopy copies;
    puppet.exec(copies.copy(Puppet::program(), "other"), {"other"});
    puppet.listen();
    EXPECT_EQ(outcome(kill(puppet.pid())), KillResult::NotFound);
    EXPECT_FALSE(puppet.hasEnded());
    EXPECT_THAT(m_log.messages(), ElementsAre(interrupted));
}

TEST_F(HelperConnectionTest, TellsWhatTheHelperRefuses)
{
    EXPECT_EQ(outcome(kill(1)), KillResult::PermissionDenied);
    EXPECT_EQ(outcome(kill(0)), KillResult::NotFound);
    EXPECT_EQ(outcome(kill(-1)), KillResult::NotFound);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, FindsTheHelperThatRunsAlready)
{
    const HelperProcess running(m_bus);
    ASSERT_TRUE(BusCaller(m_bus.address()).awaitHelper());
    connect();
    const RunningHelper helper(m_bus);
    EXPECT_EQ(helper.pid(), running.pid());
}

TEST_F(HelperConnectionTest, SharesTheHelperWithAnotherClient)
{
    connect();
    const RunningHelper helper(m_bus);
    const std::unique_ptr<HelperClient> other = makeClient();
    EXPECT_TRUE(outcome(Scan(other->xpcScan())).has_value());
    EXPECT_EQ(RunningHelper(m_bus).pid(), helper.pid());
}

TEST_F(HelperConnectionTest, AnswersAThousandCallsInFlight)
{
    constexpr int many = 1000;
    std::vector<Scan> scans;
    scans.reserve(many);
    for (int i = 0; i < many; ++i) {
        scans.push_back(scan());
    }
    for (const Scan &each : scans) {
        EXPECT_TRUE(outcome(each).has_value());
    }
    // What a busy machine, or one with very many listeners, may truly say.
    EXPECT_THAT(m_log.messages(), Each("[helper] a listing has not been answered for 10 s"));
}

TEST_F(HelperConnectionTest, StartsAnotherHelperWhenTheFirstHasEnded)
{
    connect();
    const RunningHelper first(m_bus);
    first.signal(SIGKILL);
    ASSERT_TRUE(awaitLines(1));
    EXPECT_THAT(m_log.messages(), ElementsAre(interrupted));

    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_NE(RunningHelper(m_bus).pid(), first.pid());
    EXPECT_THAT(m_log.messages(), ElementsAre(interrupted));
}

TEST_F(HelperConnectionTest, LeavesCallsPendingThatTheHelperDiedOf)
{
    connect();
    const std::size_t unanswered = UnansweredCalls::count();
    const RunningHelper first(m_bus);
    first.signal(SIGSTOP);
    const Scan listing = scan();
    const Kill ending = kill(1);
    first.signal(SIGKILL);
    ASSERT_TRUE(awaitLines(3));
    EXPECT_THAT(m_log.messages(), ElementsAre(interrupted, proxyError(), proxyError()));

    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_NE(RunningHelper(m_bus).pid(), first.pid());
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());
    EXPECT_TRUE(await([unanswered] { return UnansweredCalls::count() == unanswered + 2; }));
    EXPECT_EQ(m_log.messages().size(), 3U);
}

TEST_F(HelperConnectionTest, WaitsForAHelperThatIsStopped)
{
    connect();
    const RunningHelper helper(m_bus);
    helper.signal(SIGSTOP);
    const std::vector<Scan> scans{scan(), scan(), scan()};
    const Kill ending = kill(1);
    EXPECT_FALSE(await([&] { return scans[0].isThere() || ending.isThere(); },
                       std::chrono::milliseconds(100)));
    helper.signal(SIGCONT);
    for (const Scan &each : scans) {
        EXPECT_TRUE(outcome(each).has_value());
    }
    EXPECT_EQ(outcome(ending), KillResult::PermissionDenied);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, HasNoTimeOut)
{
    // What libdbus takes for "without end".
    EXPECT_EQ(BusLink::noTimeout, std::numeric_limits<int>::max());
}

TEST_F(HelperConnectionTest, IsInvalidatedWhenTheBusEndsAndComesBackWithIt)
{
    connect();
    m_bus.stop();
    ASSERT_TRUE(awaitLines(1));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated));

    m_bus.start();
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated));
}

TEST_F(HelperConnectionTest, LeavesCallsPendingThatWereLostWithTheBus)
{
    connect();
    const RunningHelper helper(m_bus);
    helper.signal(SIGSTOP);
    const Scan listing = scan();
    const Kill ending = kill(1);
    m_bus.stop();
    ASSERT_TRUE(awaitLines(3));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, proxyError(), proxyError()));

    m_bus.start();
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());
    EXPECT_EQ(m_log.messages().size(), 3U);
}

TEST_F(HelperConnectionTest, IsInvalidatedWhenThereIsNoBus)
{
    m_bus.stop();
    const Scan listing = scan();
    const Kill ending = kill(1);
    ASSERT_TRUE(awaitLines(3));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, proxyError(), proxyError()));

    m_bus.start();
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());
    EXPECT_EQ(m_log.messages().size(), 3U);
}

TEST_F(HelperConnectionTest, IsInvalidatedWhenThereIsNoHelperProgram)
{
    m_program.path = "/nowhere/tarnwick-helper";
    const Scan listing = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(
        m_log.messages(),
        ElementsAre(invalidated, "[helper] proxy error: cannot start /nowhere/tarnwick-helper"));
    EXPECT_FALSE(listing.isThere());

    m_program.path = HelperProcess::program();
    EXPECT_TRUE(outcome(scan()).has_value());
}

TEST_F(HelperConnectionTest, IsInvalidatedWhenTheHelperProgramEndsAtOnce)
{
    m_program.path = "/bin/true";
    const Scan listing = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(invalidated,
                            "[helper] proxy error: the helper ended before it was on the bus"));
    EXPECT_FALSE(listing.isThere());
}

TEST_F(HelperConnectionTest, RefusesEveryCallThatWaitedForAHelperThatCannotBeStarted)
{
    m_program.path = "/bin/true";
    const Scan listing = scan();
    const Kill ending = kill(1);
    ASSERT_TRUE(awaitLines(3));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, proxyError(), proxyError()));
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());
}

TEST_F(HelperConnectionTest, ReplacesTheHelperAtOnceWhoseProgramWasUpgraded)
{
    const TemporaryCopy copies;
    m_program.path = copies.copy(HelperProcess::program(), "tarnwick-helper");
    connect();
    const RunningHelper former(m_bus);
    fs::remove(m_program.path);
    static_cast<void>(copies.copy(HelperProcess::program(), "tarnwick-helper"));

    // The application that was there before keeps the helper that it has.
    const std::unique_ptr<HelperClient> upgraded = makeClient();
    EXPECT_TRUE(outcome(Scan(upgraded->xpcScan())).has_value());
    const RunningHelper current(m_bus);
    EXPECT_NE(current.pid(), former.pid());
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_FALSE(former.hasEnded());
    m_client.reset();
    EXPECT_TRUE(awaitOutside([&former] { return former.hasEnded(); }));
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, ReplacesTheHelperOfAnotherCopyAtOnce)
{
    connect();
    const RunningHelper theirs(m_bus);
    m_client.reset();
    const TemporaryCopy copies;
    m_program.path = copies.copy(HelperProcess::program(), "tarnwick-helper");
    m_client = makeClient();
    const auto start = std::chrono::steady_clock::now();
    connect();
    // Left to itself, it would have stayed for half a minute.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    const RunningHelper ours(m_bus);
    EXPECT_NE(ours.pid(), theirs.pid());
    EXPECT_TRUE(awaitOutside([&theirs] { return theirs.hasEnded(); }));
}

TEST_F(HelperConnectionTest, LetsTwoCopiesKeepTheirHelpers)
{
    connect();
    const RunningHelper first(m_bus);
    const TemporaryCopy copies;
    m_program.path = copies.copy(HelperProcess::program(), "tarnwick-helper");
    const std::unique_ptr<HelperClient> other = makeClient();
    ASSERT_TRUE(outcome(Scan(other->xpcScan())).has_value());
    const RunningHelper second(m_bus);
    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(outcome(scan()).has_value());
        EXPECT_TRUE(outcome(Scan(other->xpcScan())).has_value());
    }
    EXPECT_FALSE(first.hasEnded());
    EXPECT_EQ(RunningHelper(m_bus).pid(), second.pid());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, SaysThatAnUpgradedHelperCannotBeReplaced)
{
    const TemporaryCopy copies;
    m_program.path = copies.copy(HelperProcess::program(), "tarnwick-helper");
    connect();
    const RunningHelper helper(m_bus);
    fs::remove(m_program.path);
    const std::unique_ptr<HelperClient> other = makeClient();
    const Scan lost(other->xpcScan());
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, "[helper] proxy error: cannot start " +
                                                               m_program.path.string()));
    EXPECT_FALSE(lost.isThere());
}

TEST_F(HelperConnectionTest, SurvivesAClientThatGoesWhileItConnects)
{
    const Scan listing = scan();
    m_client.reset();
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] proxy error: the connection was given up"));
    m_client = makeClient();
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_FALSE(listing.isThere());
}

TEST_F(HelperConnectionTest, AnswersWhatWasSentBeforeTheClientWent)
{
    connect();
    const Scan listing = scan();
    const Kill ending = kill(1);
    m_client.reset();
    EXPECT_TRUE(outcome(listing).has_value());
    EXPECT_EQ(outcome(ending), KillResult::PermissionDenied);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperConnectionTest, RecoversWheneverTheHelperEnds)
{
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(connectAgain());
        const RunningHelper helper(m_bus);
        const Scan lost = scan();
        // At another moment each time: before, while and after the scan is answered.
        for (int event = 0; event < round % 8; ++event) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        helper.signal(SIGKILL);
    }
    EXPECT_TRUE(connectAgain());
}
