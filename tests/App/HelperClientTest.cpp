// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/HelperClient.h"
#include "App/UnansweredCalls.h"
#include "Core/SerialExecutor.h"
#include "Platform/fake/FakeHelperConnection.h"
#include "tests/Shared/SampleRecord.h"
#include "tests/Support/Answer.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/RecordedLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Record = FakeHelperConnection::Record;
using Records = std::vector<RawPortInfo>;
using Scan = Answer<Records>;
using Kill = Answer<KillResult>;

const HelperError denied{.description = "Not for you", .domain = "posix", .code = 13};

void onAnotherThread(const std::function<void()> &action)
{
    std::thread(action).join();
}

/// Runs what is on its way to the main thread.
void turn()
{
    bool turned = false;
    MainThread::post([&turned] { turned = true; });
    ASSERT_TRUE(await([&turned] { return turned; }));
}

/// A client whose connections and log the test sees.
class HelperClientTest : public testing::Test
{
protected:
    Scan scan() { return Scan(m_client->xpcScan()); }
    Kill kill(std::int64_t pid = 42) { return Kill(m_client->xpcKill(pid)); }

    [[nodiscard]] Records recordsOf(const Scan &scan) const
    {
        EXPECT_TRUE(await([&scan] { return scan.isThere(); }));
        EXPECT_TRUE(scan.cameOnMainThread());
        return scan.isThere() ? scan.value() : Records{sampleRecord(), sampleRecord()};
    }

    [[nodiscard]] std::optional<KillResult> resultOf(const Kill &kill) const
    {
        EXPECT_TRUE(await([&kill] { return kill.isThere(); }));
        EXPECT_TRUE(kill.cameOnMainThread());
        return kill.isThere() ? std::optional(kill.value()) : std::nullopt;
    }

    /// The outcome of a scan that the helper answers like that.
    Records scanAnswered(std::optional<QByteArray> payload, std::optional<HelperError> error)
    {
        const Scan asked = scan();
        last().listings.back().reply(std::move(payload), std::move(error));
        return recordsOf(asked);
    }

    std::optional<KillResult> killAnswered(std::int32_t code, std::optional<HelperError> error)
    {
        const Kill asked = kill();
        last().kills.back().reply(code, std::move(error));
        return resultOf(asked);
    }

    Record &last() { return *m_connections.back(); }

    /// Tells @p connection that it has ended, in one of the two ways.
    static void end(Record &connection, HelperConnection::Handler Record::*how)
    {
        (connection.*how)();
    }

    RecordedLog m_log;
    bool m_offersProxy = true;
    std::vector<std::shared_ptr<Record>> m_connections;
    SerialExecutor m_decoder;
    std::unique_ptr<HelperClient> m_client = std::make_unique<HelperClient>(
        [this] {
            m_connections.push_back(std::make_shared<Record>());
            last().offersProxy = m_offersProxy;
            return std::make_unique<FakeHelperConnection>(m_connections.back());
        },
        m_decoder);
};

QByteArray payloadOf(const Records &records)
{
    return QByteArray::fromStdString(RawPortInfo::encode(records));
}

RawPortInfo recordOn(std::int64_t port)
{
    RawPortInfo record = sampleRecord();
    record.port = port;
    return record;
}

RawPortInfo processOf(std::string path)
{
    RawPortInfo record = sampleRecord();
    record.pid = 42;
    record.commandPath = std::move(path);
    return record;
}

/// One end of a connection, and what is logged of it.
struct EndOfConnection
{
    const char *name;
    HelperConnection::Handler Record::*handler;
    const char *line;
};

const std::array<EndOfConnection, 2> endsOfConnections{{
    {"Invalidated", &Record::invalidated, "[helper] XPC connection invalidated"},
    {"Interrupted", &Record::interrupted, "[helper] XPC connection interrupted"},
}};

class HelperClientAfterTheEnd : public HelperClientTest,
                                public testing::WithParamInterface<EndOfConnection>
{
protected:
    void end(Record &connection) { HelperClientTest::end(connection, GetParam().handler); }
};

INSTANTIATE_TEST_SUITE_P(OfTheConnection, HelperClientAfterTheEnd,
                         testing::ValuesIn(endsOfConnections),
                         [](const auto &end) { return std::string(end.param.name); });

} // namespace

TEST_F(HelperClientTest, ConnectsWithTheFirstRequestOnly)
{
    turn();
    EXPECT_THAT(m_connections, IsEmpty());
    const Scan asked = scan();
    EXPECT_EQ(m_connections.size(), 1U);
}

TEST_F(HelperClientTest, SetsBothHandlersBeforeItConnectsAndLogsNothing)
{
    const Scan asked = scan();
    EXPECT_THAT(last().calls, ElementsAre("setInvalidationHandler", "setInterruptionHandler",
                                          "resume", "remoteObjectProxy"));
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, KeepsOneConnectionForAllCalls)
{
    EXPECT_THAT(scanAnswered("[]", std::nullopt), IsEmpty());
    EXPECT_EQ(killAnswered(0, std::nullopt), KillResult::Terminated);
    EXPECT_THAT(scanAnswered(std::nullopt, denied), IsEmpty());
    EXPECT_EQ(m_connections.size(), 1U);
    EXPECT_FALSE(last().isFreed);
}

TEST_F(HelperClientTest, ListsInTheHelpersOrderAndLogsNothing)
{
    const Records records{recordOn(3001), recordOn(3000), recordOn(3001)};
    EXPECT_EQ(scanAnswered(payloadOf(records), std::nullopt), records);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, TakesAnEmptyListingAsOneWithoutALineInTheLog)
{
    EXPECT_THAT(scanAnswered("[]", std::nullopt), IsEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, LogsTheErrorThatAScanIsAnsweredWith)
{
    EXPECT_THAT(scanAnswered(std::nullopt, denied), IsEmpty());
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[helper] listListeningPorts error: Not for you domain=posix code=13"));
}

TEST_F(HelperClientTest, LogsTheCodeOfAnErrorInDecimal)
{
    const HelperError error{.description = "", .domain = "com.example", .code = -4'294'967'297};
    EXPECT_THAT(scanAnswered(std::nullopt, error), IsEmpty());
    EXPECT_THAT(
        m_log.messages(),
        ElementsAre("[helper] listListeningPorts error:  domain=com.example code=-4294967297"));
}

TEST_F(HelperClientTest, IgnoresTheDataThatComeWithAnError)
{
    EXPECT_THAT(scanAnswered(payloadOf({sampleRecord()}), denied), IsEmpty());
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[helper] listListeningPorts error: Not for you domain=posix code=13"));
}

TEST_F(HelperClientTest, LogsAReplyWithoutDataAndError)
{
    EXPECT_THAT(scanAnswered(std::nullopt, std::nullopt), IsEmpty());
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] listListeningPorts returned nil data"));
}

TEST_F(HelperClientTest, LogsWhyAPayloadDoesNotDecode)
{
    RawPortInfo record = sampleRecord();
    std::string text = RawPortInfo::encode({&record, 1});
    text.replace(text.find("46500000"), 8, "-1");
    EXPECT_THAT(scanAnswered(QByteArray::fromStdString(text), std::nullopt), IsEmpty());
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] decode error: record 0, key "
                                              "\"memoryBytes\": -1 is out of range"));
}

TEST_F(HelperClientTest, LogsADecodeErrorForAnyPayloadThatIsNoListing)
{
    const std::vector<const char *> payloads{"", "{}", "[", "null", "[1]", "[]x", "\xff"};
    for (const char *payload : payloads) {
        EXPECT_THAT(scanAnswered(payload, std::nullopt), IsEmpty()) << payload;
    }
    const std::vector<std::string> messages = m_log.messages();
    EXPECT_EQ(messages.size(), payloads.size());
    EXPECT_THAT(messages, testing::Each(testing::StartsWith("[helper] decode error: ")));
}

TEST_F(HelperClientTest, LosesAWholeListingForOneBadRecord)
{
    QByteArray payload = payloadOf({recordOn(3000), recordOn(3001)});
    payload.replace("3001", "true");
    EXPECT_THAT(scanAnswered(payload, std::nullopt), IsEmpty());
}

TEST_F(HelperClientTest, MapsTheCodesOfAKillAndLogsNothing)
{
    EXPECT_EQ(killAnswered(0, std::nullopt), KillResult::Terminated);
    EXPECT_EQ(killAnswered(1, std::nullopt), KillResult::Force);
    EXPECT_EQ(killAnswered(2, std::nullopt), KillResult::PermissionDenied);
    EXPECT_EQ(killAnswered(3, std::nullopt), KillResult::NotFound);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, TakesAnUnknownCodeAsARefusalAndLogsNothing)
{
    using Limits = std::numeric_limits<std::int32_t>;
    for (const std::int32_t code : {7, -1, 9, 4, Limits::max(), Limits::min()}) {
        EXPECT_EQ(killAnswered(code, std::nullopt), KillResult::PermissionDenied) << code;
    }
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, TakesAKillWithAnErrorAsUnavailableWhateverItsCode)
{
    EXPECT_EQ(killAnswered(0, denied), KillResult::XpcUnavailable);
    EXPECT_EQ(killAnswered(9, denied), KillResult::XpcUnavailable);
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] killProcess error: Not for you",
                                              "[helper] killProcess error: Not for you"));
}

TEST_F(HelperClientTest, HandsTheProcessIdentifierOn)
{
    using Limits = std::numeric_limits<std::int32_t>;
    const Kill first = kill(42);
    const Kill lowest = kill(Limits::min());
    const Kill highest = kill(Limits::max());
    ASSERT_EQ(last().kills.size(), 3U);
    EXPECT_EQ(last().kills[0].pid, 42);
    EXPECT_EQ(last().kills[1].pid, Limits::min());
    EXPECT_EQ(last().kills[2].pid, Limits::max());
}

TEST_F(HelperClientTest, StopsTheProgramForAProcessIdentifierBeyond32Bits)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char *const rule = "fatal: a process identifier fits 32 bits";
    EXPECT_DEATH(kill(std::int64_t{1} << 31), rule);
    EXPECT_DEATH(kill(-(std::int64_t{1} << 31) - 1), rule);
    EXPECT_DEATH(kill(std::int64_t{1} << 32), rule);
}

TEST_F(HelperClientTest, AnswersAScanWithoutAProxyAtOnceWithAnEmptyList)
{
    m_offersProxy = false;
    const Scan asked = scan();
    ASSERT_TRUE(asked.isThere());
    EXPECT_THAT(asked.value(), IsEmpty());
    EXPECT_THAT(last().listings, IsEmpty());
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] xpcScan: proxy unavailable"));
}

TEST_F(HelperClientTest, AnswersAKillWithoutAProxyAtOnceAndLogsNothing)
{
    m_offersProxy = false;
    const Kill asked = kill();
    ASSERT_TRUE(asked.isThere());
    EXPECT_EQ(asked.value(), KillResult::XpcUnavailable);
    EXPECT_THAT(last().kills, IsEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, LooksForAProxyBeforeItLooksAtTheProcessIdentifier)
{
    m_offersProxy = false;
    EXPECT_EQ(resultOf(kill(std::int64_t{1} << 40)), KillResult::XpcUnavailable);
}

TEST_F(HelperClientTest, KeepsAConnectionWithoutAProxy)
{
    m_offersProxy = false;
    EXPECT_EQ(resultOf(kill()), KillResult::XpcUnavailable);
    EXPECT_THAT(recordsOf(scan()), IsEmpty());
    EXPECT_EQ(m_connections.size(), 1U);
}

TEST_F(HelperClientTest, LeavesACallPendingAfterAProxyError)
{
    const std::size_t before = UnansweredCalls::count();
    const Scan listing = scan();
    const Kill ending = kill();
    last().listings[0].failed("Gone");
    last().kills[0].failed("Gone as well");
    last().listings.clear();
    last().kills.clear();
    ASSERT_TRUE(await([before] { return UnansweredCalls::count() == before + 2; }));
    EXPECT_FALSE(listing.isThere());
    EXPECT_FALSE(ending.isThere());
    EXPECT_THAT(m_log.messages(),
                ElementsAre("[helper] proxy error: Gone", "[helper] proxy error: Gone as well"));
}

TEST_F(HelperClientTest, KeepsTheConnectionAfterAProxyError)
{
    const Scan lost = scan();
    last().listings[0].failed("Gone");
    turn();
    EXPECT_THAT(scanAnswered("[]", std::nullopt), IsEmpty());
    EXPECT_EQ(m_connections.size(), 1U);
    EXPECT_FALSE(lost.isThere());
}

TEST_F(HelperClientTest, LogsAProxyErrorFromAnyThread)
{
    const Scan lost = scan();
    onAnotherThread([this] { last().listings[0].failed("Gone"); });
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] proxy error: Gone"));
}

TEST_P(HelperClientAfterTheEnd, LogsItAndConnectsAnewForTheNextCall)
{
    const Scan lost = scan();
    end(*m_connections[0]);
    turn();
    EXPECT_TRUE(m_connections[0]->isFreed);
    EXPECT_EQ(m_connections.size(), 1U);

    EXPECT_EQ(scanAnswered(payloadOf({sampleRecord()}), std::nullopt), Records{sampleRecord()});
    EXPECT_EQ(m_connections.size(), 2U);
    EXPECT_THAT(m_log.messages(), ElementsAre(GetParam().line));
}

TEST_P(HelperClientAfterTheEnd, DropsTheConnectionOnTheMainThreadOnly)
{
    const Scan before = scan();
    onAnotherThread([this] { end(*m_connections[0]); });
    EXPECT_FALSE(m_connections[0]->isFreed);
    EXPECT_THAT(m_log.messages(), ElementsAre(GetParam().line));

    // Until the main thread comes to it, the old connection is the one.
    const Scan meanwhile = scan();
    EXPECT_EQ(m_connections.size(), 1U);
    EXPECT_EQ(last().listings.size(), 2U);
    turn();
    EXPECT_TRUE(m_connections[0]->isFreed);
}

TEST_P(HelperClientAfterTheEnd, DoesNotDropItFromWithinTheHandler)
{
    const Scan asked = scan();
    end(last());
    EXPECT_FALSE(last().isFreed);
    turn();
    EXPECT_TRUE(last().isFreed);
}

TEST_P(HelperClientAfterTheEnd, StillTakesTheReplyOfACallInFlight)
{
    const Scan asked = scan();
    end(last());
    turn();
    ASSERT_TRUE(last().isFreed);
    last().listings[0].reply(payloadOf({sampleRecord()}), std::nullopt);
    EXPECT_EQ(recordsOf(asked), Records{sampleRecord()});
}

TEST_P(HelperClientAfterTheEnd, KeepsTheNextConnectionWhenTheFirstEndsAgain)
{
    const Scan first = scan();
    end(*m_connections[0]);
    turn();
    const Scan second = scan();
    end(*m_connections[0]);
    onAnotherThread([this] { end(*m_connections[0]); });
    turn();
    EXPECT_FALSE(m_connections[1]->isFreed);
    EXPECT_THAT(scanAnswered("[]", std::nullopt), IsEmpty());
    EXPECT_EQ(m_connections.size(), 2U);
}

TEST_F(HelperClientTest, KillsNoOtherProcessThatOnlyAFailedListingHeld)
{
    scanAnswered(payloadOf({processOf("/bin/a")}), std::nullopt);
    scanAnswered("broken", std::nullopt);
    const Kill ending = kill();
    ASSERT_EQ(last().listings.size(), 3U);
    last().listings[2].reply(payloadOf({processOf("/bin/b")}), std::nullopt);
    EXPECT_EQ(resultOf(ending), KillResult::NotFound);
    EXPECT_THAT(last().kills, IsEmpty());
}

TEST_P(HelperClientAfterTheEnd, KillsWhatWasHandedOnBeforeWhenItIsStillListed)
{
    scanAnswered(payloadOf({processOf("/bin/a")}), std::nullopt);
    end(last());
    turn();
    const Kill ending = kill();
    EXPECT_THAT(last().kills, IsEmpty());
    last().listings.at(0).reply(payloadOf({processOf("/bin/a")}), std::nullopt);
    ASSERT_TRUE(await([this] { return !last().kills.empty(); }));
    EXPECT_EQ(last().kills[0].pid, 42);
    last().kills[0].reply(0, std::nullopt);
    EXPECT_EQ(resultOf(ending), KillResult::Terminated);
}

TEST_P(HelperClientAfterTheEnd, KillsWhatWasHandedOnBeforeAListingThatFailed)
{
    scanAnswered(payloadOf({processOf("/bin/a")}), std::nullopt);
    end(last());
    turn();
    scanAnswered(std::nullopt, denied);
    const Kill ending = kill();
    last().listings.at(1).reply(payloadOf({processOf("/bin/a")}), std::nullopt);
    ASSERT_TRUE(await([this] { return !last().kills.empty(); }));
    last().kills[0].reply(0, std::nullopt);
    EXPECT_EQ(resultOf(ending), KillResult::Terminated);
}

TEST_P(HelperClientAfterTheEnd, KillsNoProcessThatWasNotHandedOn)
{
    const RawPortInfo listed = processOf("/bin/a");
    RawPortInfo later = listed;
    later.processStartedAt += std::chrono::seconds(2);
    scanAnswered(payloadOf({listed}), std::nullopt);
    end(last());
    turn();
    for (const Records &now : {Records{processOf("/bin/b")}, Records{later}, Records{}}) {
        const Kill ending = kill();
        ASSERT_FALSE(last().listings.empty());
        last().listings.back().reply(payloadOf(now), std::nullopt);
        EXPECT_EQ(resultOf(ending), KillResult::NotFound);
    }
    EXPECT_EQ(resultOf(kill(43)), KillResult::NotFound);
    EXPECT_THAT(last().kills, IsEmpty());
}

TEST_P(HelperClientAfterTheEnd, KillsNoProcessThatWasLeftOutOfTheListing)
{
    scanAnswered(payloadOf({processOf("/bin/a")}), std::nullopt);
    end(last());
    turn();
    EXPECT_THAT(scanAnswered(payloadOf({processOf("/bin/b")}), std::nullopt), IsEmpty());
    EXPECT_EQ(resultOf(kill()), KillResult::NotFound);
    EXPECT_THAT(last().kills, IsEmpty());
}

TEST_P(HelperClientAfterTheEnd, KillsNothingWithoutAListingOfTheNextHelper)
{
    scanAnswered(payloadOf({processOf("/bin/a")}), std::nullopt);
    end(last());
    turn();
    const Kill ending = kill();
    last().listings.at(0).reply(std::nullopt, denied);
    EXPECT_EQ(resultOf(ending), KillResult::XpcUnavailable);
    EXPECT_THAT(last().kills, IsEmpty());
}

TEST_P(HelperClientAfterTheEnd, OnlyLogsItWhenTheClientIsGone)
{
    const Scan asked = scan();
    m_client.reset();
    EXPECT_TRUE(last().isFreed);
    end(last());
    turn();
    EXPECT_THAT(m_log.messages(), ElementsAre(GetParam().line));
}

TEST_F(HelperClientTest, LogsBothEndsOfOneConnection)
{
    const Scan asked = scan();
    last().interrupted();
    last().invalidated();
    turn();
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] XPC connection interrupted",
                                              "[helper] XPC connection invalidated"));
    EXPECT_TRUE(last().isFreed);
}

TEST_F(HelperClientTest, HasSeveralCallsInFlightOnOneConnection)
{
    const Scan first = scan();
    const Kill ending = kill();
    const Scan second = scan();
    ASSERT_EQ(last().listings.size(), 2U);
    ASSERT_EQ(last().kills.size(), 1U);

    last().listings[1].reply(payloadOf({recordOn(2)}), std::nullopt);
    EXPECT_EQ(recordsOf(second), Records{recordOn(2)});
    EXPECT_FALSE(first.isThere());
    EXPECT_FALSE(ending.isThere());

    last().kills[0].reply(1, std::nullopt);
    EXPECT_EQ(resultOf(ending), KillResult::Force);
    EXPECT_FALSE(first.isThere());

    last().listings[0].reply(payloadOf({recordOn(1)}), std::nullopt);
    EXPECT_EQ(recordsOf(first), Records{recordOn(1)});
    EXPECT_EQ(m_connections.size(), 1U);
}

TEST_F(HelperClientTest, ContinuesCallersOnTheMainThreadWhateverThreadReplies)
{
    const Scan listing = scan();
    const Scan failing = scan();
    const Kill ending = kill();
    onAnotherThread([this] {
        last().listings[0].reply(payloadOf({sampleRecord()}), std::nullopt);
        last().listings[1].reply(std::nullopt, denied);
        last().kills[0].reply(3, std::nullopt);
    });
    EXPECT_FALSE(ending.isThere());
    EXPECT_EQ(recordsOf(listing), Records{sampleRecord()});
    EXPECT_THAT(recordsOf(failing), IsEmpty());
    EXPECT_EQ(resultOf(ending), KillResult::NotFound);
}

TEST_F(HelperClientTest, MovesCallersFromOtherThreadsToTheMainThread)
{
    std::optional<Scan> listing;
    std::optional<Kill> ending;
    onAnotherThread([this, &listing, &ending] {
        listing.emplace(m_client->xpcScan());
        ending.emplace(m_client->xpcKill(42));
    });
    EXPECT_THAT(m_connections, IsEmpty());
    ASSERT_TRUE(await([this] { return !m_connections.empty() && !last().kills.empty(); }));
    last().listings.at(0).reply("[]", std::nullopt);
    last().kills.at(0).reply(0, std::nullopt);
    EXPECT_THAT(recordsOf(*listing), IsEmpty());
    EXPECT_EQ(resultOf(*ending), KillResult::Terminated);
}

TEST_F(HelperClientTest, TakesTheFirstOfTwoReplies)
{
    const Scan listing = scan();
    last().listings[0].reply(payloadOf({sampleRecord()}), std::nullopt);
    last().listings[0].reply("[]", std::nullopt);
    const Kill ending = kill();
    onAnotherThread([this] {
        last().kills[0].reply(0, std::nullopt);
        last().kills[0].reply(3, denied);
    });
    EXPECT_EQ(recordsOf(listing), Records{sampleRecord()});
    EXPECT_EQ(resultOf(ending), KillResult::Terminated);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperClientTest, DecodesOffTheMainThread)
{
    std::latch released(1);
    m_decoder.post([&released] { released.wait(); });
    const Scan listing = scan();
    last().listings[0].reply(payloadOf({sampleRecord()}), std::nullopt);
    turn(); // which it would have been decoded in
    EXPECT_FALSE(listing.isThere());
    released.count_down();
    EXPECT_EQ(recordsOf(listing), Records{sampleRecord()});
}

TEST_F(HelperClientTest, AnswersCallsThatAreInFlightWhenTheClientGoes)
{
    const Scan listing = scan();
    const Kill ending = kill();
    m_client.reset();
    EXPECT_TRUE(last().isFreed);
    last().listings[0].reply(payloadOf({sampleRecord()}), std::nullopt);
    last().kills[0].reply(0, std::nullopt);
    EXPECT_EQ(recordsOf(listing), Records{sampleRecord()});
    EXPECT_EQ(resultOf(ending), KillResult::Terminated);
}

TEST_F(HelperClientTest, FreesTheConnectionThoughACallIsNeverAnswered)
{
    const std::size_t before = UnansweredCalls::count();
    const Scan listing = scan();
    last().listings[0].failed("Gone");
    last().listings.clear();
    last().interrupted();
    ASSERT_TRUE(await([before] { return UnansweredCalls::count() == before + 1; }));
    turn();
    EXPECT_TRUE(last().isFreed);
    EXPECT_FALSE(listing.isThere());
}
