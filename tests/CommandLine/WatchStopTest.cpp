// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchStop.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Key yes{.code = Key::Code::Character, .text = "y"};
const Key no{.code = Key::Code::Character, .text = "n"};

/// An end that takes until the test says otherwise.
class LongEnd : public PendingEnd
{
public:
    explicit LongEnd(std::optional<KillAnswer> &answer)
        : m_answer(answer)
    {
    }

    [[nodiscard]] int descriptor() const override { return 42; }
    [[nodiscard]] std::chrono::steady_clock::time_point deadline() const override { return {}; }
    [[nodiscard]] std::optional<KillAnswer> advance() override { return m_answer; }

private:
    std::optional<KillAnswer> &m_answer;
};

class SlowEnds : public NotedEnds
{
public:
    [[nodiscard]] StartedEnd startEnd(const ProcessIdentity & /*process*/) override
    {
        return std::make_unique<LongEnd>(answer);
    }

    std::optional<KillAnswer> answer;
};

struct WatchStopTest : testing::Test
{
    NotedEnds ender;
    Environment environment;
    WatchStop stop{ender, environment};
    std::vector<Listener> listeners =
        listenersFrom({record(80, 7, "node"), record(81, 7, "node"), systemRecord(90, 8, "sshd"),
                       record(95, 0, "rpcbind.socket")});
};

} // namespace

TEST_F(WatchStopTest, AsksAboutAllPortsOfTheProcess)
{
    stop.ask(listeners[1], listeners);
    EXPECT_TRUE(stop.isAsking());
    EXPECT_EQ(stop.question(), "Stop node (pid 7) on ports 80 and 81? [y/N]");
    stop.answer(no);
    EXPECT_FALSE(stop.isAsking());
    EXPECT_THAT(ender.ended, IsEmpty());
}

TEST_F(WatchStopTest, EndsTheProcessThatWasShownWhenTheQuestionCameUp)
{
    stop.ask(listeners[0], listeners);
    ender.startTicks += 1; // another process has the identifier by now
    stop.answer(yes);
    EXPECT_THAT(ender.ended, ElementsAre(7));
    EXPECT_THAT(ender.startsOfEnded, ElementsAre(100));
    EXPECT_EQ(stop.message(), "node (pid 7) on ports 80 and 81 has ended.");
}

TEST_F(WatchStopTest, AsksTwiceBeforeItEndsWhatBelongsToTheSystem)
{
    stop.ask(listeners[2], listeners);
    stop.answer(yes);
    EXPECT_TRUE(stop.isAskingAgain());
    EXPECT_EQ(stop.question(), "sshd (pid 8) belongs to the system. Stop it all the same? [y/N]");
    EXPECT_THAT(ender.ended, IsEmpty());
    stop.answer(no);
    EXPECT_THAT(ender.ended, IsEmpty());
    stop.ask(listeners[2], listeners);
    stop.answer(yes);
    stop.answer(yes);
    EXPECT_THAT(ender.ended, ElementsAre(8));
}

TEST_F(WatchStopTest, RefusesAnUnknownOwner)
{
    stop.ask(listeners[3], listeners);
    EXPECT_FALSE(stop.isAsking());
    EXPECT_EQ(stop.message(),
              "The owner of port 95 is unknown and cannot be stopped. Root may see it.");
}

TEST_F(WatchStopTest, SaysHowItWent)
{
    const std::vector<std::pair<KillAnswer, std::string>> outcomes{
        {KillResultCode::ForceKilled, "node (pid 7) on ports 80 and 81 was force-killed."},
        {KillResultCode::NotFound, "node (pid 7) was already gone."},
        {KillResultCode::PermissionDenied,
         "Not allowed to stop node (pid 7). Running as root may help."},
        {KillError{ETIMEDOUT, ""}, "node (pid 7) was sent SIGKILL and has not ended."},
        {KillError{ENOMEM, "no memory"}, "node (pid 7) was not stopped: no memory."}};
    for (const auto &[answer, message] : outcomes) {
        ender.results[7] = answer;
        stop.ask(listeners[0], listeners);
        stop.answer(yes);
        EXPECT_EQ(stop.message(), message);
        stop.dismissMessage();
        EXPECT_EQ(stop.message(), "");
    }
    ender.results[7] = KillResultCode::PermissionDenied;
    ender.protections[7] = "the display server";
    stop.ask(listeners[0], listeners);
    stop.answer(yes);
    EXPECT_EQ(stop.message(), "Not allowed to stop node (pid 7): it is the display server.");
}

TEST_F(WatchStopTest, WaitsWithoutBlocking)
{
    SlowEnds slow;
    WatchStop slowStop(slow, environment);
    EXPECT_EQ(slowStop.descriptor(), -1);
    slowStop.ask(listeners[0], listeners);
    slowStop.answer(yes);
    EXPECT_EQ(slowStop.descriptor(), 42);
    slowStop.advance();
    slowStop.dismissMessage();
    EXPECT_EQ(slowStop.message(), "Stopping node (pid 7)…");
    slowStop.ask(listeners[2], listeners);
    EXPECT_FALSE(slowStop.isAsking()) << "one at a time";
    slow.answer = KillResultCode::Terminated;
    slowStop.advance();
    EXPECT_EQ(slowStop.descriptor(), -1);
    EXPECT_EQ(slowStop.message(), "node (pid 7) on ports 80 and 81 has ended.");
}

} // namespace Tarnwick
