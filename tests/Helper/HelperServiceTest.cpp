// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/HelperService.h"

#include "tests/Helper/FakeEventLoop.h"
#include "tests/Support/Puppet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The service with an event loop that the test turns. Listings are numbered: each has one record,
/// with its number as the port. Kills are those of a real terminator.
class HelperServiceTest : public ::testing::Test
{
protected:
    Listing list()
    {
        ++m_listings;
        if (m_listingError) {
            return *m_listingError;
        }
        RawPortInfo record;
        record.port = m_listings;
        return std::vector<RawPortInfo>{record};
    }

    /// The number of the listing that answers, or the negative errno of its failure, is written
    /// down.
    void askForList(std::vector<std::int64_t> &answers)
    {
        m_service.listListeningPorts([&answers](const HelperService::ListAnswer &answer) {
            if (const auto *error = std::get_if<ListingError>(&answer)) {
                answers.push_back(-error->code);
                return;
            }
            const auto records = RawPortInfo::decode(*std::get<HelperService::Payload>(answer));
            answers.push_back(std::get<std::vector<RawPortInfo>>(records).at(0).port);
        });
    }

    void askToKill(std::int32_t pid, std::vector<KillResultCode> &answers,
                   std::optional<std::int32_t> caller = std::nullopt)
    {
        m_service.killProcess(pid, caller,
                              [&answers](KillResultCode code) { answers.push_back(code); });
    }

    static EventLoop::Clock::time_point later(EventLoop::Clock::duration duration)
    {
        return EventLoop::Clock::now() + duration;
    }

    FakeEventLoop m_loop;
    int m_listings = 0;
    int m_kills = 0;
    std::optional<ListingError> m_listingError;
    ListenerInventory m_inventory;
    ProcessTerminator m_terminator{
        m_inventory, {.beforeForcing = milliseconds(100), .afterForcing = milliseconds(5000)}};
    HelperService m_service{m_loop,
                            {.list = [this] { return list(); },
                             .beginToEnd =
                                 [this](std::int32_t pid, std::optional<std::int32_t> caller) {
                                     ++m_kills;
                                     return m_terminator.begin(pid, caller);
                                 }}};
    std::vector<std::int64_t> m_lists;
    std::vector<KillResultCode> m_codes;
};

TEST_F(HelperServiceTest, ListsWhenNothingElseIsToBeDone)
{
    askForList(m_lists);
    EXPECT_THAT(m_lists, IsEmpty());
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(1));
}

TEST_F(HelperServiceTest, AnswersOnceAndWaitsForNothingAfterwards)
{
    askForList(m_lists);
    m_loop.beIdle();
    m_loop.reach(later(seconds(10)));
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(1));
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, AnswersTogetherWithOneListingWhatWaitsTogether)
{
    askForList(m_lists);
    askForList(m_lists);
    askForList(m_lists);
    EXPECT_EQ(m_listings, 0) << "the listing must begin after the last of the requests";
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(1, 1, 1));
}

TEST_F(HelperServiceTest, ListsAgainForWhoAsksLater)
{
    askForList(m_lists);
    m_loop.beIdle();
    askForList(m_lists);
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(1, 2));
}

TEST_F(HelperServiceTest, ListsInTimeThoughThereIsAlwaysSomethingElseToDo)
{
    for (int times = 0; times < 1000; ++times) {
        askForList(m_lists);
    }
    m_loop.reach(later(milliseconds(-1)));
    EXPECT_THAT(m_lists, IsEmpty());
    m_loop.reach(later(HelperService::longestWait));
    EXPECT_EQ(m_lists, std::vector<std::int64_t>(1000, 1));
    m_loop.beIdle();
    EXPECT_EQ(m_lists.size(), 1000U);
    EXPECT_EQ(m_listings, 1);
}

TEST_F(HelperServiceTest, ListsOnceMoreForWhoAsksInAnAnswer)
{
    m_service.listListeningPorts(
        [this](const HelperService::ListAnswer & /*answer*/) { askForList(m_lists); });
    m_loop.beIdle();
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(2));
}

TEST_F(HelperServiceTest, TellsEverybodyThatAListingFailed)
{
    m_listingError = ListingError{.code = EMFILE, .message = "no descriptors left"};
    askForList(m_lists);
    askForList(m_lists);
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(-EMFILE, -EMFILE));
    m_listingError.reset();
    askForList(m_lists);
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(-EMFILE, -EMFILE, 2));
}

TEST_F(HelperServiceTest, AnswersARefusalAtOnce)
{
    askToKill(0, m_codes);
    askToKill(1, m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound, KillResultCode::PermissionDenied));
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, AnswersAKillWhenTheProcessHasEnded)
{
    Puppet server;
    server.listen();
    askToKill(server.pid(), m_codes);
    EXPECT_THAT(m_codes, IsEmpty());
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
    EXPECT_TRUE(server.hasEnded());
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, ForcesAProcessThatDoesNotEndInTime)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    askToKill(server.pid(), m_codes);
    const auto deadline = later(seconds(30));
    while (!server.hasEnded() && EventLoop::Clock::now() < deadline) {
        m_loop.reach(EventLoop::Clock::now());
    }
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::ForceKilled));
    EXPECT_TRUE(server.hasEnded());
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, ListsWhileAKillWaits)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    askToKill(server.pid(), m_codes);
    askForList(m_lists);
    m_loop.beIdle();
    EXPECT_THAT(m_lists, ElementsAre(1));
    EXPECT_THAT(m_codes, IsEmpty());
}

TEST_F(HelperServiceTest, AnswersTogetherWhoWantTheSameProcessToEnd)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    std::vector<KillResultCode> others;
    askToKill(server.pid(), m_codes);
    askToKill(server.pid(), others);
    EXPECT_EQ(m_kills, 1);
    EXPECT_THAT(others, IsEmpty());
    server.end();
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
    EXPECT_THAT(others, ElementsAre(KillResultCode::Terminated));
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, AwaitsTheEndsOfTwoProcessesSideBySide)
{
    Puppet first;
    first.listen();
    Puppet second;
    second.listen();
    std::vector<KillResultCode> others;
    askToKill(first.pid(), m_codes);
    askToKill(second.pid(), others);
    ASSERT_TRUE(m_loop.awaitReadable());
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
    EXPECT_THAT(others, ElementsAre(KillResultCode::Terminated));
}

TEST_F(HelperServiceTest, RefusesAProcessThatWantsItselfToEndThoughAnotherDoesToo)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    std::vector<KillResultCode> own;
    askToKill(server.pid(), m_codes);
    askToKill(server.pid(), own, server.pid());
    EXPECT_THAT(own, ElementsAre(KillResultCode::PermissionDenied));
    EXPECT_THAT(m_codes, IsEmpty());
}

TEST_F(HelperServiceTest, AnswersTheFirstWhenTheSecondComesAfterTheEnd)
{
    Puppet server;
    server.listen();
    std::vector<KillResultCode> late;
    askToKill(server.pid(), m_codes);
    ASSERT_TRUE(server.awaitEnd());
    askToKill(server.pid(), late);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
    EXPECT_THAT(late, ElementsAre(KillResultCode::NotFound));
}

TEST_F(HelperServiceTest, EndsAProcessOnceMoreForWhoAsksInAnAnswer)
{
    Puppet first;
    first.listen();
    Puppet second;
    second.listen();
    m_service.killProcess(first.pid(), std::nullopt, [this, &first, &second](KillResultCode) {
        askToKill(first.pid(), m_codes);
        askToKill(second.pid(), m_codes);
    });
    ASSERT_TRUE(m_loop.awaitReadable());
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound, KillResultCode::Terminated));
}

} // namespace
} // namespace Tarnwick
