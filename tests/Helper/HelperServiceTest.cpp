// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/HelperService.h"

#include "tests/Helper/FakeEventLoop.h"
#include "tests/Helper/ReusedIdentifier.h"
#include "tests/Support/Puppet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The service with an event loop that the test turns. Listings are numbered: each has one record,
/// with its number as the port. Kills are those of a real terminator, and so is what scans find of
/// owners.
class HelperServiceTest : public ::testing::Test
{
protected:
    Scan scan(const ScanRequest &request)
    {
        ++m_scans;
        if (m_listingError) {
            return *m_listingError;
        }
        ScanRequest owners = request;
        owners.records = false;
        Scan found = m_inventory.scan(owners);
        if (auto *result = std::get_if<ScanResult>(&found); result != nullptr && request.records) {
            RawPortInfo record;
            record.port = ++m_listings;
            result->records = {record};
        }
        return found;
    }

    /// What a client is shown of what listens now.
    SharedProcessReport show()
    {
        static_cast<void>(m_inventory.list());
        m_shown = m_inventory.report();
        return m_shown;
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
            const auto records =
                RawPortInfo::decode(std::get<HelperService::Payload>(answer)->bytes());
            answers.push_back(std::get<std::vector<RawPortInfo>>(records).at(0).port);
        });
    }

    /// A kill by a client that was shown what show() showed last.
    void askToKill(std::int32_t pid, std::vector<KillResultCode> &answers,
                   std::optional<std::int32_t> caller = std::nullopt)
    {
        askToKill({.pid = pid, .shown = m_shown, .caller = caller}, answers);
    }

    /// An error is written down as its negative errno.
    void askToKill(const HelperService::KillRequest &request, std::vector<KillResultCode> &answers)
    {
        m_service.killProcess(request, [&answers](const KillAnswer &answer) {
            const auto *error = std::get_if<KillError>(&answer);
            answers.push_back(error != nullptr ? KillResultCode{-error->code}
                                               : std::get<KillResultCode>(answer));
        });
    }

    /// The same, and the scan that it waits for.
    void kill(std::int32_t pid, std::vector<KillResultCode> &answers)
    {
        askToKill(pid, answers);
        m_loop.beIdle();
    }

    HelperService::Work work()
    {
        HelperService::Work work = HelperService::workOf(m_inventory, m_terminator);
        work.scan = [this](const ScanRequest &request) { return scan(request); };
        return work;
    }

    static EventLoop::Clock::time_point later(EventLoop::Clock::duration duration)
    {
        return EventLoop::Clock::now() + duration;
    }

    FakeEventLoop m_loop;
    int m_listings = 0;
    int m_scans = 0;
    std::optional<ListingError> m_listingError;
    SharedProcessReport m_shown;
    ListenerInventory m_inventory;
    ProcessTerminator m_terminator{
        m_inventory, {.beforeForcing = milliseconds(100), .afterForcing = milliseconds(5000)}};
    HelperService m_service{m_loop, work()};
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
    EXPECT_EQ(m_scans, 0) << "the listing must begin after the last of the requests";
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
    EXPECT_THAT(m_lists, ElementsAre(-EMFILE, -EMFILE, 1));
}

TEST_F(HelperServiceTest, AnswersARefusalAtOnceAndWithoutAScan)
{
    Puppet bystander;
    show();
    askToKill(0, m_codes);
    askToKill(1, m_codes);
    askToKill(bystander.pid(), m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound, KillResultCode::PermissionDenied,
                                     KillResultCode::PermissionDenied));
    EXPECT_EQ(m_loop.waits(), 0U);
    EXPECT_EQ(m_scans, 0);
}

TEST_F(HelperServiceTest, AnswersAKillWhenTheProcessHasEnded)
{
    Puppet server;
    server.listen();
    show();
    kill(server.pid(), m_codes);
    EXPECT_THAT(m_codes, IsEmpty());
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
    EXPECT_TRUE(server.hasEnded());
    EXPECT_EQ(m_loop.waits(), 0U);
}

TEST_F(HelperServiceTest, RefusesWhatNobodyWasShown)
{
    Puppet server;
    server.listen();
    askToKill({.pid = server.pid(), .shown = nullptr, .caller = std::nullopt}, m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::PermissionDenied));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(HelperServiceTest, RefusesWhatOnlyAnotherClientWasShown)
{
    const SharedProcessReport before = show();
    Puppet server;
    server.listen();
    show();
    askToKill({.pid = server.pid(), .shown = before, .caller = std::nullopt}, m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::PermissionDenied));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(HelperServiceTest, MeansTheProcessThatTheClientWasShownUnderAnIdentifier)
{
    auto server = std::make_optional<Puppet>();
    server->listen();
    const pid_t pid = server->pid();
    const SharedProcessReport before = show();
    server.reset();
    ReusedIdentifier other(pid, true);
    if (!other) {
        GTEST_SKIP() << "an identifier can be chosen only with privilege";
    }
    const SharedProcessReport after = show();
    askToKill({.pid = pid, .shown = before, .caller = std::nullopt}, m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound));
    EXPECT_FALSE(other.hasEnded());
    askToKill({.pid = pid, .shown = after, .caller = std::nullopt}, m_codes);
    m_loop.beIdle();
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound, KillResultCode::Terminated));
}

TEST_F(HelperServiceTest, TakesTheLatestListingOfAllForWhoNeverListed)
{
    Puppet server;
    server.listen();
    show();
    askForList(m_lists);
    m_loop.beIdle();
    askToKill({.pid = server.pid(), .shown = nullptr, .caller = std::nullopt}, m_codes);
    m_loop.beIdle();
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::Terminated));
}

TEST_F(HelperServiceTest, MeansTheProcessThatEachClientWasShownThoughBothWaitForAScan)
{
    auto server = std::make_optional<Puppet>();
    server->listen();
    const pid_t pid = server->pid();
    show();
    askToKill(pid, m_codes);
    server.reset();
    ReusedIdentifier other(pid, true);
    if (!other) {
        GTEST_SKIP() << "an identifier can be chosen only with privilege";
    }
    show();
    std::vector<KillResultCode> others;
    askToKill(pid, others);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound));
    m_loop.beIdle();
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(others, ElementsAre(KillResultCode::Terminated));
    EXPECT_EQ(m_scans, 1);
}

TEST_F(HelperServiceTest, ShowsNobodyAListingThatIsTooLargeToSend)
{
    Puppet server;
    server.listen();
    const SharedProcessReport report = show();
    HelperService::Work large = HelperService::workOf(m_inventory, m_terminator);
    large.scan = [&report](const ScanRequest &) -> Scan {
        RawPortInfo record;
        record.processName.assign(100'000, 'x');
        return ScanResult{std::vector<RawPortInfo>(700, record), report, {}};
    };
    HelperService service(m_loop, large);
    int code = 0;
    service.listListeningPorts([&code](const HelperService::ListAnswer &answer) {
        const auto *error = std::get_if<ListingError>(&answer);
        code = error != nullptr ? error->code : 0;
    });
    m_loop.beIdle();
    EXPECT_EQ(code, EMSGSIZE);
    std::optional<KillAnswer> refusal;
    service.killProcess({.pid = server.pid(), .shown = nullptr, .caller = std::nullopt},
                        [&refusal](const KillAnswer &answer) { refusal = answer; });
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(std::get<KillResultCode>(*refusal), KillResultCode::PermissionDenied);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(HelperServiceTest, ScansOnceForAllThatWaitTogether)
{
    constexpr std::size_t many = 1000;
    std::array<Puppet, 3> servers;
    for (Puppet &server : servers) {
        server.listen();
    }
    show();
    for (std::size_t request = 0; request < many; ++request) {
        askToKill(servers.at(request % servers.size()).pid(), m_codes);
    }
    askForList(m_lists);
    m_loop.beIdle();
    EXPECT_EQ(m_scans, 1);
    EXPECT_THAT(m_lists, ElementsAre(1));
    while (m_codes.size() < many && m_loop.awaitReadable()) {
    }
    EXPECT_EQ(m_codes, std::vector<KillResultCode>(many, KillResultCode::Terminated));
    EXPECT_EQ(m_scans, 1);
}

TEST_F(HelperServiceTest, TellsThatAScanForAKillFailed)
{
    Puppet server;
    server.listen();
    show();
    m_listingError = ListingError{.code = EMFILE, .message = "no descriptors left"};
    kill(server.pid(), m_codes);
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode{-EMFILE}));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(HelperServiceTest, ForcesAProcessThatDoesNotEndInTime)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    show();
    kill(server.pid(), m_codes);
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
    show();
    kill(server.pid(), m_codes);
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
    show();
    std::vector<KillResultCode> others;
    kill(server.pid(), m_codes);
    kill(server.pid(), others);
    EXPECT_EQ(m_scans, 1);
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
    show();
    std::vector<KillResultCode> others;
    kill(first.pid(), m_codes);
    kill(second.pid(), others);
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
    show();
    std::vector<KillResultCode> own;
    kill(server.pid(), m_codes);
    askToKill(server.pid(), own, server.pid());
    EXPECT_THAT(own, ElementsAre(KillResultCode::PermissionDenied));
    EXPECT_THAT(m_codes, IsEmpty());
}

TEST_F(HelperServiceTest, AnswersTheFirstWhenTheSecondComesAfterTheEnd)
{
    Puppet server;
    server.listen();
    show();
    std::vector<KillResultCode> late;
    kill(server.pid(), m_codes);
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
    show();
    m_service.killProcess({.pid = first.pid(), .shown = m_shown, .caller = std::nullopt},
                          [this, &first, &second](const KillAnswer &) {
                              askToKill(first.pid(), m_codes);
                              askToKill(second.pid(), m_codes);
                          });
    m_loop.beIdle();
    ASSERT_TRUE(m_loop.awaitReadable());
    m_loop.beIdle();
    ASSERT_TRUE(m_loop.awaitReadable());
    EXPECT_THAT(m_codes, ElementsAre(KillResultCode::NotFound, KillResultCode::Terminated));
}

} // namespace
} // namespace Tarnwick
