// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Listener.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gtest/gtest.h>

namespace Tarnwick {

TEST(Listener, CarriesTheClassifiedEntryOfItsRecord)
{
    const RawPortInfo reported = record(3000, 4711, "node");
    const auto listeners = listenersFrom({reported});
    ASSERT_EQ(listeners.size(), 1U);
    EXPECT_EQ(listeners[0].record, reported);
    EXPECT_EQ(listeners[0].entry.tier, PortTier::Dev);
    EXPECT_EQ(listeners[0].entry.description, "Node.js");
}

TEST(Listener, ComesInTheOrderOfPortsThenProcessesThenNames)
{
    const auto listeners = listenersFrom(
        {record(8080, 1, "a"), record(80, 9, "a"), record(80, 2, "b"), record(80, 2, "a")});
    ASSERT_EQ(listeners.size(), 4U);
    EXPECT_EQ(listeners[0].record, record(80, 2, "a"));
    EXPECT_EQ(listeners[1].record, record(80, 2, "b"));
    EXPECT_EQ(listeners[2].record, record(80, 9, "a"));
    EXPECT_EQ(listeners[3].record, record(8080, 1, "a"));
}

TEST(Listener, IsMergedWithItsEqualsKeepingTheFirst)
{
    RawPortInfo first = record(80, 1, "a");
    first.memoryBytes = 1;
    auto listeners = listenersFrom({first, record(81, 1, "a"), record(80, 1, "a")});
    mergeEqual(listeners);
    ASSERT_EQ(listeners.size(), 2U);
    EXPECT_EQ(listeners[0].record, first);
}

TEST(Listener, IsNotMergedWithAnotherOwnerOfThePort)
{
    auto listeners = listenersFrom({record(80, 1, "a"), record(80, 2, "a"), record(80, 1, "b")});
    mergeEqual(listeners);
    EXPECT_EQ(listeners.size(), 3U);
}

} // namespace Tarnwick
