// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/NetworkMonitor.h"

#include "Core/DiffEngine.h"
#include "tests/Core/ScriptedSource.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/RecordingRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTimer>

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Tarnwick;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Clock = ScriptedSource::Clock;

RawPortInfo record(std::int64_t pid, std::int64_t port)
{
    return {
        .pid = pid,
        .port = port,
        .processName = "node",
        .commandPath = "/usr/local/bin/node",
        .cwd = "/home/ann/site",
        .arguments = {"node", "server.js"},
        .originArguments = {},
        .processStartedAt = Timestamp(1s),
        .memoryBytes = 1,
    };
}

class NetworkMonitorTest : public testing::Test
{
protected:
    void start()
    {
        const QCoro::Task<void> task = m_monitor->start();
        ASSERT_TRUE(await([&task] { return task.isReady(); }));
    }

    [[nodiscard]] bool awaitRequests(std::size_t count)
    {
        return await([this, count] { return m_source.requests.size() >= count; });
    }

    /// Waits until a scan that another monitor was asked for now, with the usual delay, has come:
    /// a scan that this one was asked for before would have come as well.
    void awaitDelay(std::chrono::milliseconds delay)
    {
        ScriptedSource source;
        NetworkMonitor other(source, m_engine, delay);
        other.scheduleDebouncedScan();
        ASSERT_TRUE(await([&source] { return source.requests.size() == 1; }));
    }

    static constexpr std::chrono::milliseconds shortDelay{10};

    RecordingRegistry m_registry;
    DiffEngine m_engine{m_registry};
    ScriptedSource m_source;
    std::unique_ptr<NetworkMonitor> m_monitor =
        std::make_unique<NetworkMonitor>(m_source, m_engine);
};

/// What the calling thread has used of the processor.
std::chrono::nanoseconds threadTime()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

} // namespace

TEST_F(NetworkMonitorTest, PollsEveryTenSecondsUnlessToldOtherwise)
{
    EXPECT_EQ(m_monitor->pollInterval(), 10.0);
    m_monitor->setPollInterval(2.5);
    EXPECT_EQ(m_monitor->pollInterval(), 2.5);
}

TEST_F(NetworkMonitorTest, DoesNothingBeforeItIsStarted)
{
    m_monitor->setPollInterval(0.001);
    awaitDelay(shortDelay);
    EXPECT_THAT(m_source.requests, IsEmpty());
}

TEST_F(NetworkMonitorTest, ScansAtOnceWhenItStarts)
{
    m_source.answer = {record(1, 3000), record(2, 3001)};
    start();
    EXPECT_EQ(m_source.requests.size(), 1U);
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000", "+node:3001"));
}

TEST_F(NetworkMonitorTest, ScansWithEveryPeriodAfterItsStart)
{
    m_monitor->setPollInterval(0.05);
    start();
    ASSERT_TRUE(awaitRequests(4));
    EXPECT_GE(m_source.requests[3] - m_source.requests[0], 3 * 45ms);
}

TEST_F(NetworkMonitorTest, TakesAnotherPeriodFromTheNextStart)
{
    m_monitor->setPollInterval(0.02);
    start();
    m_monitor->setPollInterval(3600.0);
    ASSERT_TRUE(awaitRequests(3)); // the old timer goes on
    m_monitor->stop();
    m_monitor->setPollInterval(0.2);
    m_source.requests.clear();
    start();
    ASSERT_EQ(m_source.requests.size(), 1U);
    ASSERT_TRUE(awaitRequests(3));
    EXPECT_GE(m_source.requests[1] - m_source.requests[0], 180ms);
    EXPECT_GE(m_source.requests[2] - m_source.requests[1], 180ms);
}

TEST_F(NetworkMonitorTest, StartsItsTimerOnlyAfterTheFirstScan)
{
    m_monitor->setPollInterval(0.001);
    m_source.holdsBack = true;
    const QCoro::Task<void> task = m_monitor->start();
    awaitDelay(shortDelay);
    EXPECT_EQ(m_source.requests.size(), 1U);
    m_source.holdsBack = false;
    m_source.release();
    EXPECT_TRUE(awaitRequests(3));
}

TEST_F(NetworkMonitorTest, ScansOnAlthoughTheFirstScanIsLost)
{
    m_monitor = std::make_unique<NetworkMonitor>(m_source, m_engine, shortDelay, shortDelay);
    m_monitor->setPollInterval(0.005);
    m_source.holdsBack = true;
    const QCoro::Task<void> task = m_monitor->start();
    ASSERT_TRUE(awaitRequests(1));
    m_source.holdsBack = false;
    m_source.answer = {record(1, 3000)};
    EXPECT_TRUE(awaitRequests(4));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000"));
}

TEST_F(NetworkMonitorTest, StartsOneTimerWhenTheFirstScanEndsLate)
{
    m_monitor = std::make_unique<NetworkMonitor>(m_source, m_engine, shortDelay, shortDelay);
    m_monitor->setPollInterval(3600.0);
    m_source.holdsBack = true;
    const QCoro::Task<void> task = m_monitor->start();
    ASSERT_TRUE(awaitRequests(2)); // the second because the first is late
    m_source.holdsBack = false;
    m_source.release();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_EQ(m_monitor->findChildren<QTimer *>().size(), 1);
}

TEST_F(NetworkMonitorTest, StartsNoTimerWhenItIsStoppedDuringTheFirstScan)
{
    m_monitor->setPollInterval(0.001);
    m_source.holdsBack = true;
    const QCoro::Task<void> task = m_monitor->start();
    m_monitor->stop();
    m_source.release();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    awaitDelay(shortDelay);
    EXPECT_EQ(m_source.requests.size(), 1U);
}

TEST_F(NetworkMonitorTest, HasOneTimerAfterStartsThatOverlap)
{
    m_monitor->setPollInterval(3600.0);
    m_source.holdsBack = true;
    const QCoro::Task<void> first = m_monitor->start();
    m_monitor->stop();
    const QCoro::Task<void> second = m_monitor->start();
    m_source.release();
    m_source.release();
    ASSERT_TRUE(await([&] { return first.isReady() && second.isReady(); }));
    EXPECT_EQ(m_monitor->findChildren<QTimer *>().size(), 1);
}

TEST_F(NetworkMonitorTest, HasOneTimerAfterTwoChangesInOneTurn)
{
    m_monitor->setPollInterval(3600.0);
    m_source.holdsBack = true;
    m_monitor->stop();
    m_monitor->stop();
    const QCoro::Task<void> first = m_monitor->start();
    const QCoro::Task<void> second = m_monitor->start();
    m_source.release();
    m_source.release();
    ASSERT_TRUE(await([&] { return first.isReady() && second.isReady(); }));
    const QList<QTimer *> timers = m_monitor->findChildren<QTimer *>();
    ASSERT_EQ(timers.size(), 1);
    EXPECT_TRUE(timers.front()->isActive());
    m_monitor->stop();
    EXPECT_FALSE(timers.front()->isActive());
}

TEST_F(NetworkMonitorTest, LeavesATimerThatRunsAloneWhenItStartsAgain)
{
    m_monitor->setPollInterval(0.02);
    start();
    m_monitor->setPollInterval(3600.0);
    start();
    EXPECT_TRUE(awaitRequests(5));
}

TEST_F(NetworkMonitorTest, StopsPolling)
{
    m_monitor->setPollInterval(0.005);
    start();
    m_monitor->stop();
    awaitDelay(50ms);
    EXPECT_EQ(m_source.requests.size(), 1U);
}

TEST_F(NetworkMonitorTest, StopsFromWithinATick)
{
    m_monitor->setPollInterval(0.005);
    start();
    m_source.onRequest = [this] { m_monitor->stop(); };
    ASSERT_TRUE(awaitRequests(2));
    awaitDelay(50ms);
    EXPECT_EQ(m_source.requests.size(), 2U);
}

TEST_F(NetworkMonitorTest, StopsWhenItWasNotStarted)
{
    m_monitor->stop();
    start();
    EXPECT_EQ(m_source.requests.size(), 1U);
}

TEST_F(NetworkMonitorTest, LetsAScanInFlightReachTheEngineAfterItWasStopped)
{
    m_source.holdsBack = true;
    m_source.answer = {record(1, 3000)};
    const QCoro::Task<void> task = m_monitor->start();
    m_monitor->stop();
    m_source.release();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000"));
}

TEST_F(NetworkMonitorTest, ScansThreeHundredMillisecondsAfterTheLastRequestOfABurst)
{
    Clock::time_point lastRequest;
    QTimer burst;
    burst.setTimerType(Qt::PreciseTimer);
    int requested = 0;
    const auto request = [&] {
        lastRequest = Clock::now();
        m_monitor->scheduleDebouncedScan();
        if (++requested == 3) {
            burst.stop();
        }
    };
    QObject::connect(&burst, &QTimer::timeout, request);
    burst.start(100ms);
    request();
    ASSERT_TRUE(awaitRequests(1));
    EXPECT_EQ(requested, 3);
    EXPECT_GE(m_source.requests[0] - lastRequest, 300ms);
    EXPECT_LE(m_source.requests[0] - lastRequest, 2s);
    awaitDelay(NetworkMonitor::defaultDebounceDelay);
    EXPECT_EQ(m_source.requests.size(), 1U);
}

TEST_F(NetworkMonitorTest, ForgetsARequestedScanWhenItIsStopped)
{
    m_monitor->scheduleDebouncedScan();
    awaitDelay(100ms);
    m_monitor->stop();
    awaitDelay(NetworkMonitor::defaultDebounceDelay);
    EXPECT_THAT(m_source.requests, IsEmpty());
}

TEST_F(NetworkMonitorTest, ScansForARequestAfterItWasStopped)
{
    m_monitor->stop();
    m_monitor->scheduleDebouncedScan();
    EXPECT_TRUE(awaitRequests(1));
}

TEST_F(NetworkMonitorTest, ScansOnceForEachRequestThatComesAfterTheScanBefore)
{
    NetworkMonitor monitor(m_source, m_engine, shortDelay);
    monitor.scheduleDebouncedScan();
    ASSERT_TRUE(awaitRequests(1));
    monitor.scheduleDebouncedScan();
    EXPECT_TRUE(awaitRequests(2));
}

TEST_F(NetworkMonitorTest, LetsScansOverlap)
{
    m_source.holdsBack = true;
    m_source.answer = {record(1, 3000)};
    const QCoro::Task<void> task = m_monitor->start();
    m_monitor->scheduleDebouncedScan();
    ASSERT_TRUE(await([this] { return m_source.heldBack() == 2; }));
    m_source.release();
    m_source.release();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000"));
}

TEST_F(NetworkMonitorTest, EmptiesTheListAfterAFailedListingAndFillsItAgain)
{
    m_source.answer = {record(1, 3000)};
    start();
    m_source.answer = {};
    start();
    m_source.answer = {record(1, 3000)};
    start();
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000", "-node:3000", "+node:3000"));
}

TEST_F(NetworkMonitorTest, ScansWithEveryTickAlthoughOneScanNeverCompletes)
{
    m_source.answer = {record(1, 3000)};
    m_monitor->setPollInterval(0.02);
    start();
    m_source.holdsBack = true;
    ASSERT_TRUE(await([this] { return m_source.heldBack() == 2; }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000"));
    m_source.holdsBack = false;
    m_source.answer = {record(1, 3000), record(2, 3001)};
    ASSERT_TRUE(await([this] { return m_registry.calls.size() == 2; }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000", "+node:3001"));
}

TEST_F(NetworkMonitorTest, EndsAScanThatIsAnsweredAfterItWasDestroyed)
{
    m_source.holdsBack = true;
    m_source.answer = {record(1, 3000)};
    const QCoro::Task<void> task = m_monitor->start();
    m_monitor.reset();
    m_source.release();
    EXPECT_TRUE(task.isReady());
    EXPECT_THAT(m_registry.calls, IsEmpty());
}

TEST_F(NetworkMonitorTest, EndsAScanWhoseEntriesAreBeingMadeWhenItIsDestroyed)
{
    m_source.answer.assign(1000, record(1, 3000));
    const QCoro::Task<void> task = m_monitor->start();
    m_monitor.reset();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, IsEmpty());
}

TEST_F(NetworkMonitorTest, LeavesAScanToTheEngineWhenItIsDestroyedDuringTheChanges)
{
    m_source.answer = {record(1, 3000), record(2, 3001)};
    m_registry.onCall = [this](const std::string & /*call*/) { m_monitor.reset(); };
    const QCoro::Task<void> task = m_monitor->start();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+node:3000", "+node:3001"));
}

TEST_F(NetworkMonitorTest, ForgetsItsTimersWhenItIsDestroyed)
{
    m_monitor->setPollInterval(0.005);
    start();
    m_monitor->scheduleDebouncedScan();
    m_monitor.reset();
    awaitDelay(NetworkMonitor::defaultDebounceDelay);
    EXPECT_EQ(m_source.requests.size(), 1U);
}

namespace {

/// Rules that give @p port the tier `app` and the description @p description.
SharedTierRules rulesFor(std::int64_t port, const std::string &description)
{
    TierRule rule;
    rule.tier = PortTier::App;
    rule.description = description;
    rule.ports = {{port, port}};
    return std::make_shared<const TierRules>(std::vector<TierRule>{rule});
}

} // namespace

TEST_F(NetworkMonitorTest, ClassifiesByTheRulesThatHoldAtEachScan)
{
    SharedTierRules rules = rulesFor(3000, "A shop");
    NetworkMonitor monitor(m_source, m_engine, shortDelay, NetworkMonitor::defaultFirstScanPatience,
                           [&rules] { return rules; });
    const auto scan = [&monitor] {
        const QCoro::Task<void> task = monitor.start();
        ASSERT_TRUE(await([&task] { return task.isReady(); }));
        monitor.stop();
    };
    std::vector<std::string> opened;
    m_registry.onOpened = [&opened](const PortEntry &entry) {
        opened.push_back(entry.description + ", " + std::string(rawValue(entry.tier)));
    };
    m_source.answer = {record(1, 3000), record(2, 3001)};
    scan();
    EXPECT_THAT(opened, ElementsAre("A shop, app", "Node.js, dev"));

    // What changed is taken off and shown again; the rest stays.
    m_registry.calls.clear();
    rules = rulesFor(3000, "The shop");
    scan();
    EXPECT_THAT(m_registry.calls, ElementsAre("-node:3000", "+node:3000"));
    EXPECT_EQ(opened.back(), "The shop, app");

    scan();
    EXPECT_EQ(m_registry.calls.size(), 2U);
}

TEST_F(NetworkMonitorTest, AsksForTheRulesOffTheMainThread)
{
    std::thread::id asked;
    NetworkMonitor monitor(m_source, m_engine, shortDelay, NetworkMonitor::defaultFirstScanPatience,
                           [&asked] {
                               asked = std::this_thread::get_id();
                               return std::make_shared<const TierRules>();
                           });
    const QCoro::Task<void> task = monitor.start();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_NE(asked, std::thread::id());
    EXPECT_NE(asked, std::this_thread::get_id());
}

TEST_F(NetworkMonitorTest, TakesAnyPeriodForItsTimer)
{
    for (const double seconds : {-1.0, 0.0, 1e-9}) {
        m_source.requests.clear();
        m_monitor->setPollInterval(seconds);
        start();
        EXPECT_TRUE(awaitRequests(3)) << seconds;
        m_monitor->stop();
    }
    m_monitor->setPollInterval(1e300);
    start();
    m_source.requests.clear();
    awaitDelay(shortDelay);
    EXPECT_THAT(m_source.requests, IsEmpty());
}

TEST_F(NetworkMonitorTest, CostsTheMainThreadNothingForTenThousandListenersThatStay)
{
    std::vector<RawPortInfo> records;
    for (std::int64_t i = 0; i < 10'000; ++i) {
        records.push_back(record(100 + i, 1 + i));
    }
    m_source.answer = records;
    start();
    m_monitor->stop();
    // Released later, and moved: what the source does for its answer is not measured.
    m_source.holdsBack = true;
    m_source.movesAnswer = true;
    const QCoro::Task<void> task = m_monitor->start();
    const std::chrono::nanoseconds before = threadTime();
    m_source.release();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_LT(threadTime() - before, 2ms);
    EXPECT_EQ(m_registry.calls.size(), 10'000U);
}
