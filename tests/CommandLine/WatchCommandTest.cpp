// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace Tarnwick {

namespace {

using testing::HasSubstr;
using testing::Not;

/// Plays prepared events, a deadline when it has passed, then quits.
class PreparedSession : public WatchSession
{
public:
    PreparedSession(std::deque<WatchEvent> events, std::string keys)
        : m_events(std::move(events))
        , m_keys(std::move(keys))
    {
    }

    [[nodiscard]] WatchEvent await(Clock::time_point deadline, int /*descriptor*/) override
    {
        if (m_events.empty()) {
            return WatchEvent::Quit;
        }
        const WatchEvent event = m_events.front();
        m_events.pop_front();
        if (event == WatchEvent::KeyPressed && m_keys.empty()) {
            return WatchEvent::Redraw; // it was discarded
        }
        if (event == WatchEvent::Deadline) {
            std::this_thread::sleep_until(deadline);
        }
        return event;
    }

    [[nodiscard]] Key takeKey() override
    {
        const char key = m_keys.front();
        m_keys.erase(0, 1);
        return {.code = Key::Code::Character, .text = {key}};
    }

    void discardKeys() override { m_keys.clear(); }

private:
    std::deque<WatchEvent> m_events;
    std::string m_keys;
};

struct WatchCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;
    NotedEnds ender;
    std::optional<Presentation> presentation;
    std::chrono::milliseconds interval{1};
    std::string keys; ///< one for each event of a key

    ExitCode watch(std::deque<WatchEvent> events, WatchArguments arguments = {})
    {
        const auto start = [&](Presentation wanted) {
            presentation = wanted;
            return std::make_unique<PreparedSession>(events, keys);
        };
        arguments.interval = interval;
        return WatchCommand(std::move(arguments), test.console, listings, ender, start).run();
    }
};

} // namespace

TEST_F(WatchCommandTest, WritesLinesWhereThereIsNoTerminal)
{
    listings.listings = {std::vector{record(3000, 4711, "node"), record(3000, 4711, "node")},
                         std::vector<RawPortInfo>{}};
    EXPECT_EQ(watch({WatchEvent::Deadline}), ExitCode::Done);
    EXPECT_EQ(presentation, Presentation::Lines);
    EXPECT_EQ(test.output.written, "+ :3000 node 4711\n- :3000 node 4711\n");
}

TEST_F(WatchCommandTest, DrawsInPlaceOnATerminal)
{
    test.output.shape.isTerminal = true;
    EXPECT_EQ(watch({}), ExitCode::Done);
    EXPECT_EQ(presentation, Presentation::InPlace);
    EXPECT_THAT(test.output.written, HasSubstr("Nothing is listening."));
}

TEST_F(WatchCommandTest, WritesLinesOnADumbTerminalAndForJson)
{
    test.output.shape.isTerminal = true;
    EXPECT_EQ(watch({}, {.selection = {}, .json = true}), ExitCode::Done);
    EXPECT_EQ(presentation, Presentation::Lines);
    for (const char *term : {"dumb", ""}) {
        test.console.environment.term = term;
        EXPECT_EQ(watch({}), ExitCode::Done);
        EXPECT_EQ(presentation, Presentation::Lines) << term;
    }
}

TEST_F(WatchCommandTest, ShowsOnlyWhatIsSelected)
{
    listings.listings = {std::vector{record(3000, 4711, "node"), systemRecord(22, 1, "sshd")}};
    EXPECT_EQ(watch({}, {.selection = {.tiers = {PortTier::System}, .search = {}, .ports = {}}}),
              ExitCode::Done);
    EXPECT_EQ(test.output.written, "+ :22 sshd 1\n");
}

TEST_F(WatchCommandTest, DrawsAgainWithoutAnotherScan)
{
    test.output.shape.isTerminal = true;
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    interval = std::chrono::hours(1);
    EXPECT_EQ(watch({WatchEvent::Redraw}), ExitCode::Done);
    EXPECT_EQ(listings.asked, 1);
    EXPECT_NE(test.output.written.find("4711"), test.output.written.rfind("4711"));
}

TEST_F(WatchCommandTest, ScansWhenTheSessionDetectsAChange)
{
    listings.listings = {std::vector<RawPortInfo>{}, std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(watch({WatchEvent::Changed, WatchEvent::Deadline}), ExitCode::Done);
    EXPECT_EQ(test.output.written, "+ :3000 node 4711\n");
}

TEST_F(WatchCommandTest, QuitsOnItsKey)
{
    test.output.shape.isTerminal = true;
    keys = "q";
    EXPECT_EQ(watch({WatchEvent::KeyPressed, WatchEvent::Deadline}), ExitCode::Done);
    EXPECT_EQ(listings.asked, 1);
}

TEST_F(WatchCommandTest, TakesNoAnswerThatWasTypedBeforeTheQuestion)
{
    test.output.shape.isTerminal = true;
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    keys = "xy";
    EXPECT_EQ(watch({WatchEvent::KeyPressed, WatchEvent::KeyPressed}), ExitCode::Done);
    EXPECT_THAT(test.output.written, HasSubstr("Stop node (pid 4711) on port 3000?"));
    EXPECT_THAT(ender.ended, testing::IsEmpty());
}

TEST_F(WatchCommandTest, GoesOnAfterAFailedScan)
{
    listings.listings = {ListingError{.code = 1, .message = "no sockets"},
                         std::vector{record(3000, 4711, "node")}};
    EXPECT_EQ(watch({WatchEvent::Deadline}), ExitCode::Done);
    EXPECT_EQ(test.errors.written, "tarnwickctl: no sockets\n");
    EXPECT_EQ(test.output.written, "+ :3000 node 4711\n");
}

TEST_F(WatchCommandTest, EndsQuietlyWhenNobodyReads)
{
    EXPECT_EQ(watch({WatchEvent::OutputClosed}), ExitCode::Done);
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.error = std::make_error_code(std::errc::broken_pipe);
    EXPECT_EQ(watch({WatchEvent::Deadline}), ExitCode::Done);
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(WatchCommandTest, FailsWhenTheDiskIsFull)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.error = std::make_error_code(std::errc::no_space_on_device);
    EXPECT_EQ(watch({WatchEvent::Deadline}), ExitCode::Failed);
    EXPECT_THAT(test.errors.written, HasSubstr("No space left on device"));
}

TEST_F(WatchCommandTest, LetsTheNextEventExplainAnInterruptedWrite)
{
    listings.listings = {std::vector{record(3000, 4711, "node")}};
    test.output.error = std::make_error_code(std::errc::interrupted);
    EXPECT_EQ(watch({}), ExitCode::Done);
    EXPECT_EQ(test.errors.written, "");
}

TEST_F(WatchCommandTest, FailsWhenNoSessionCanBegin)
{
    const auto start = [](Presentation) {
        errno = EMFILE;
        return std::unique_ptr<WatchSession>();
    };
    EXPECT_EQ(WatchCommand({}, test.console, listings, ender, start).run(), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: Cannot watch: Too many open files\n");
    EXPECT_THAT(test.output.written, Not(HasSubstr(":")));
}

} // namespace Tarnwick
