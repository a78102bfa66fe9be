// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchHistory.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

const Timestamp noon{std::chrono::hours(12)};

std::vector<Listener> listeners(std::vector<RawPortInfo> records)
{
    return listenersFrom(std::move(records));
}

} // namespace

TEST(WatchHistory, NotesWhatHasClosedAndThenWhatHasOpened)
{
    WatchHistory history;
    history.note(listeners({record(80, 1, "a"), record(90, 2, "b")}),
                 listeners({record(70, 3, "c"), record(80, 1, "a")}), noon);
    ASSERT_EQ(history.changes().size(), 2U);
    const WatchHistory::Change &closed = history.changes()[0];
    EXPECT_FALSE(closed.isOpened);
    EXPECT_EQ(closed.port, 90);
    EXPECT_EQ(closed.pid, 2);
    EXPECT_EQ(closed.process, "b");
    EXPECT_EQ(closed.time, noon);
    EXPECT_EQ(closed.openedAt, std::nullopt) << "it was there before";
    EXPECT_TRUE(history.changes()[1].isOpened);
    EXPECT_EQ(history.changes()[1].port, 70);
}

TEST(WatchHistory, HasTheTimeAtWhichAClosedListenerOpened)
{
    WatchHistory history;
    const auto with = listeners({record(80, 1, "a")});
    history.note({}, with, noon);
    history.note(with, {}, noon + std::chrono::minutes(2));
    EXPECT_EQ(history.changes().back().openedAt, noon);
    history.note(with, {}, noon + std::chrono::minutes(3));
    EXPECT_EQ(history.changes().back().openedAt, std::nullopt);
}

TEST(WatchHistory, DropsTheOldestChanges)
{
    WatchHistory history;
    const auto with = listeners({record(80, 1, "a")});
    for (std::size_t count = 0; count < WatchHistory::maxChanges; ++count) {
        history.note({}, with, noon + std::chrono::seconds(count));
    }
    history.note(with, {}, noon - std::chrono::seconds(1));
    EXPECT_EQ(history.changes().size(), WatchHistory::maxChanges);
    EXPECT_EQ(history.changes().front().time, noon + std::chrono::seconds(1));
    EXPECT_FALSE(history.changes().back().isOpened);
}

TEST(WatchHistory, ShortensCommands)
{
    WatchHistory history;
    RawPortInfo large = record(80, 1, "a\x1b");
    large.arguments = {std::string(100'000, 'x')};
    history.note({}, listeners({large}), noon);
    EXPECT_LE(history.changes().back().command.size(), WatchHistory::maxCommandSize);
    EXPECT_EQ(history.changes().back().process, "a^[");
}

} // namespace Tarnwick
