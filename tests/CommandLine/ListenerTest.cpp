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

TEST(Listener, KeepsTheSocketsAndShadowsOfThoseItIsMergedWith)
{
    auto listeners = listenersFrom({record(80, 1, "a"), record(80, 1, "a"), record(80, 2, "b")}, {},
                                   {at("127.0.0.1"), at("0.0.0.0"), at("::1")});
    noteShadows(listeners);
    mergeEqual(listeners);
    ASSERT_EQ(listeners.size(), 2U);
    ASSERT_EQ(listeners[0].otherSockets.size(), 1U);
    EXPECT_TRUE(listeners[0].otherSockets.front().address.isAny());
    ASSERT_EQ(listeners[0].shadows.size(), 1U) << "the same for both sockets";
    EXPECT_EQ(listeners[0].shadows.front(),
              (Shadow{.target = "localhost", .pid = 2, .processName = "b", .address = "::1"}));
    EXPECT_TRUE(listeners[1].shadows.empty());
}

TEST(Listener, IsNotMergedWithAnUnknownOneOfAnotherUser)
{
    ListenerDetails root = at("127.0.0.1");
    ListenerDetails ada = at("::1");
    ada.userId = 1000;
    auto listeners = listenersFrom(
        {record(80, 0, "unknown"), record(80, 0, "unknown"), record(80, 0, "unknown")}, {},
        {root, root, ada});
    mergeEqual(listeners);
    EXPECT_EQ(listeners.size(), 2U);
}

TEST(Listener, IsNotMergedWithAnotherOwnerOfThePort)
{
    auto listeners = listenersFrom({record(80, 1, "a"), record(80, 2, "a"), record(80, 1, "b")});
    mergeEqual(listeners);
    EXPECT_EQ(listeners.size(), 3U);
}

} // namespace Tarnwick
