// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/HelperFixture.h"
#include "tests/Support/HelperProgram.h"
#include "tests/Support/OwnNetwork.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>

namespace Tarnwick {
namespace {

using std::chrono::seconds;

/// Not one of the bus's errors, which mean that a request got no answer.
constexpr std::string_view tooMany = "System.Error.EBUSY";

/// In which order the bus takes a sender's replies, which it shows to whom it lets eavesdrop.
class ReplyOrder
{
public:
    ReplyOrder(const std::string &address, const std::string &sender)
        : m_observer(address)
    {
        sd_bus_add_filter(m_observer.bus(), nullptr, &ReplyOrder::onMessage, this);
        const std::string rule = "type='method_return',eavesdrop='true',sender='" + sender + "'";
        sd_bus_call_method(m_observer.bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "AddMatch", nullptr, nullptr, "s", rule.c_str());
    }

    /// How many replies to others came before the first to @p receiver.
    [[nodiscard]] std::size_t position(const std::string &receiver)
    {
        const auto deadline = BusCaller::Clock::now() + BusCaller::usualPatience;
        auto found = m_receivers.end();
        while ((found = std::find(m_receivers.begin(), m_receivers.end(), receiver)) ==
                   m_receivers.end() &&
               BusCaller::Clock::now() < deadline) {
            if (sd_bus_process(m_observer.bus(), nullptr) == 0) {
                constexpr std::uint64_t nap = 10'000; // microseconds
                sd_bus_wait(m_observer.bus(), nap);
            }
        }
        return static_cast<std::size_t>(found - m_receivers.begin());
    }

private:
    static int onMessage(sd_bus_message *message, void *order, sd_bus_error * /*error*/)
    {
        const char *receiver = sd_bus_message_get_destination(message);
        std::uint64_t cookie = 0;
        if (receiver != nullptr && sd_bus_message_get_reply_cookie(message, &cookie) >= 0) {
            static_cast<ReplyOrder *>(order)->m_receivers.emplace_back(receiver);
        }
        return 0;
    }

    BusCaller m_observer;
    std::vector<std::string> m_receivers;
};

/// What the helper does for a client that asks faster than it can be answered, and for the others
/// meanwhile.
class HelperFlood : public HelperFixture
{
protected:
    static constexpr int many = 10'000;
    static constexpr seconds patience{300};

    explicit HelperFlood(const PrivateBus::Options &options = {})
        : HelperFixture(options)
    {
    }

    /// What else listens on this machine would have its share in the helper's memory.
    static void SetUpTestSuite() { isAlone = enterOwnNetwork(); }

    void SetUp() override
    {
        HelperFixture::SetUp();
        // What a first listing takes is no consequence of a flood.
        static_cast<void>(m_caller.list());
        m_before = m_helper.residentMemory();
    }

    /// How much more memory the helper keeps than before the flood, as soon as it has come to rest,
    /// and how much more it took at most; in kB.
    void expectGrowth(std::size_t keptMost, std::size_t takenMost)
    {
        if (isSanitized || !isAlone) {
            return;
        }
        const auto deadline = BusCaller::Clock::now() + seconds(10);
        while (m_helper.residentMemory() > m_before + keptMost &&
               BusCaller::Clock::now() < deadline) {
            ::poll(nullptr, 0, 10);
        }
        const std::size_t after = m_helper.residentMemory();
        const std::size_t peak = m_helper.peakMemory();
        RecordProperty("residentBefore_kB", std::to_string(m_before));
        RecordProperty("residentAfter_kB", std::to_string(after));
        RecordProperty("residentPeak_kB", std::to_string(peak));
        EXPECT_LE(after, m_before + keptMost);
        EXPECT_LE(peak, m_before + takenMost);
    }

    /// Listens so often, with so long a command line, that a listing is longer than a megabyte.
    static Puppet longWinded()
    {
        std::vector<std::string> arguments(60, std::string(1000, 'x'));
        Puppet server(Puppet::program(), arguments);
        for (int listeners = 0; listeners < 20; ++listeners) {
            server.listen();
        }
        return server;
    }

private:
    inline static bool isAlone = false;
    std::size_t m_before = 0;
};

TEST_F(HelperFlood, AnswersTenThousandListRequestsOfOneClient)
{
    for (int times = 0; times < many; ++times) {
        m_caller.askForList();
    }
    ASSERT_TRUE(m_caller.awaitAll(patience));
    int listed = 0;
    for (BusCaller::Request request = 1; request <= many; ++request) {
        const BusCaller::Answer &answer = m_caller.answer(request);
        if (answer.error != tooMany) {
            ASSERT_TRUE(answer.records().has_value()) << answer.error;
            ++listed;
        }
    }
    EXPECT_GE(listed, 1024);
    expectGrowth(2048, 4096);
}

TEST_F(HelperFlood, AnswersTenThousandKillRequestsOfOneClient)
{
    constexpr std::int32_t nobody = 0x7fff'fffe;
    for (int times = 0; times < many; ++times) {
        m_caller.askToKill(nobody);
    }
    ASSERT_TRUE(m_caller.awaitAll(patience));
    for (BusCaller::Request request = 1; request <= many; ++request) {
        const BusCaller::Answer &answer = m_caller.answer(request);
        if (answer.error != tooMany) {
            ASSERT_EQ(answer.code, 3) << answer.error;
        }
    }
    expectGrowth(2048, 4096);
}

TEST_F(HelperFlood, AnswersRequestsBeyondWhatAnswersWellInTimeWithAnError)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    static_cast<void>(m_caller.list());
    std::vector<BusCaller::Request> kills;
    for (int times = 0; times < 1025; ++times) {
        kills.push_back(m_caller.askToKill(server.pid()));
    }
    EXPECT_EQ(m_caller.answer(kills.back(), seconds(2)).error, tooMany);
    EXPECT_FALSE(server.hasEnded());
    BusCaller other(m_bus.address());
    EXPECT_TRUE(other.list().records().has_value());
    ASSERT_TRUE(m_caller.awaitAll());
    kills.pop_back();
    for (const BusCaller::Request kill : kills) {
        ASSERT_EQ(m_caller.answer(kill).code, 1) << kill;
    }
}

TEST_F(HelperFlood, HoldsOneCopyOfALargeListingHoweverManyAskForIt)
{
    const Puppet server = longWinded();
    for (int times = 0; times < 500; ++times) {
        m_caller.askForList();
    }
    ASSERT_TRUE(m_caller.awaitAll(patience));
    EXPECT_GT(m_caller.answer(500).payload.size(), 1'000'000U);
    expectGrowth(4096, 16'384);
}

TEST_F(HelperFlood, ListsForOneBeforeOthersGetAllThatTheyAskedFor)
{
    constexpr std::size_t greedyClients = 4;
    constexpr std::size_t requests = 25;
    const Puppet server = longWinded();
    const std::string helper = m_caller.owner("com.velmora.tarnwick.helper");
    std::vector<std::unique_ptr<BusCaller>> greedy;
    for (std::size_t client = 0; client < greedyClients; ++client) {
        greedy.push_back(std::make_unique<BusCaller>(m_bus.address()));
        ASSERT_TRUE(greedy.back()->list().records().has_value());
    }
    ReplyOrder order(m_bus.address(), helper);
    m_helper.signal(SIGSTOP);
    for (const auto &client : greedy) {
        for (std::size_t times = 0; times < requests; ++times) {
            client->askForList();
        }
        client->flush();
    }
    const auto request = m_caller.askForList();
    ASSERT_EQ(m_caller.owner("com.velmora.tarnwick.helper"), helper); // the bus has the request
    m_helper.signal(SIGCONT);

    EXPECT_TRUE(m_caller.answer(request, patience).records().has_value());
    for (const auto &client : greedy) {
        ASSERT_TRUE(client->awaitAll(patience));
    }
    const char *name = nullptr;
    sd_bus_get_unique_name(m_caller.bus(), &name);
    // One of each, and what was on its way before the last request was read.
    EXPECT_LE(order.position(name), greedyClients * requests / 2);
}

TEST_F(HelperFlood, ServesOthersWhileOneDoesNotReadItsAnswers)
{
    const Puppet server = longWinded();
    BusCaller silent(m_bus.address());
    for (int times = 0; times < 200; ++times) {
        silent.askForList();
    }
    silent.flush();
    for (int times = 0; times < 20; ++times) {
        EXPECT_TRUE(m_caller.list().records().has_value());
    }
    EXPECT_EQ(silent.answers(), 0U);
}

TEST_F(HelperFlood, ForgetsTheRequestsOfOneWhoLeaves)
{
    for (int times = 0; times < 20; ++times) {
        BusCaller leaving(m_bus.address());
        for (int request = 0; request < 1000; ++request) {
            leaving.askForList();
        }
        leaving.flush();
    }
    EXPECT_TRUE(m_caller.list().records().has_value());
    expectGrowth(2048, 40'960);
}

/// What the helper does when the bus reads no more of what it sends.
class HelperOnStoppedBus : public HelperFlood
{
protected:
    /// The bus reads no further when so much of a sender is unread by its receivers.
    HelperOnStoppedBus()
        : HelperFlood({.configuration = R"(<limit name="max_incoming_bytes">2000000</limit>)"})
    {
    }

    void TearDown() override {}

    void expectFailure()
    {
        EXPECT_EQ(m_helper.awaitEnd(seconds(120)), 1);
        EXPECT_EQ(m_helper.output(), "tarnwick-helper: the session bus takes no messages\n");
    }

    /// Expects that a helper started now answers.
    void expectAnswerOfNext()
    {
        const HelperProcess next(m_bus);
        ASSERT_TRUE(m_caller.awaitHelper()) << next.output();
        EXPECT_TRUE(m_caller.list().records().has_value());
    }
};

TEST_F(HelperOnStoppedBus, LeavesItToTheNextOneWhenAClientDoesNotReadItsAnswers)
{
    const Puppet server = longWinded();
    BusCaller silent(m_bus.address());
    for (int times = 0; times < 100; ++times) {
        silent.askForList();
    }
    silent.flush();
    m_caller.askForList();
    m_caller.askForList();
    expectFailure();
    EXPECT_TRUE(m_caller.awaitAll());
    expectAnswerOfNext();
    EXPECT_EQ(silent.answers(), 0U);
}

TEST_F(HelperOnStoppedBus, LeavesItToTheNextOneThoughTheSocketTookAllAnswers)
{
    m_helper.signal(SIGSTOP);
    BusCaller other(m_bus.address());
    const auto request = other.askForList();
    ASSERT_NE(other.owner("com.velmora.tarnwick.helper"), ""); // the bus has the request
    m_bus.pause();
    m_helper.signal(SIGCONT);
    expectFailure();
    m_bus.resume();
    EXPECT_EQ(other.answer(request).error, "org.freedesktop.DBus.Error.NoReply");
    expectAnswerOfNext();
}

} // namespace
} // namespace Tarnwick
