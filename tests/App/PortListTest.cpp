// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/PortList.h"

#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(PortList, IsEmptyAtFirst)
{
    const PortList list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.size(), 0U);
    EXPECT_THAT(list, IsEmpty());
    EXPECT_FALSE(list.contains(0, 0));
}

TEST(PortList, KeepsTheOrderOfAddition)
{
    const SharedPortEntry first = sampleEntry("b", 9, 443);
    const SharedPortEntry second = sampleEntry("a", 1, 22);
    PortList list;
    list.append(first);
    list.append(second);
    EXPECT_THAT(list, ElementsAre(first, second));
    EXPECT_EQ(list.size(), 2U);
}

TEST(PortList, FindsByProcessIdentifierAndPort)
{
    PortList list;
    list.append(sampleEntry("a", 1, 22));
    EXPECT_TRUE(list.contains(1, 22));
    EXPECT_FALSE(list.contains(22, 1));
    EXPECT_FALSE(list.contains(1, 23));
    EXPECT_FALSE(list.contains(2, 22));
}

TEST(PortList, RemovesEveryEntryOfAKeyAndKeepsTheRestInOrder)
{
    const SharedPortEntry first = sampleEntry("a", 1, 80);
    const SharedPortEntry otherPort = sampleEntry("b", 2, 81);
    const SharedPortEntry otherProcess = sampleEntry("b", 3, 80);
    PortList list;
    list.append(first);
    list.append(sampleEntry("b", 2, 80));
    list.append(otherPort);
    list.append(sampleEntry("c", 2, 80));
    list.append(otherProcess);
    list.remove(2, 80);
    EXPECT_THAT(list, ElementsAre(first, otherPort, otherProcess));
    EXPECT_EQ(list.size(), 3U);
    EXPECT_FALSE(list.contains(2, 80));
    EXPECT_TRUE(list.contains(2, 81));
}

TEST(PortList, RemovesNothingForAKeyThatIsNotThere)
{
    PortList list;
    list.append(sampleEntry("a", 1, 80));
    list.remove(1, 81);
    list.remove(2, 80);
    EXPECT_EQ(list.size(), 1U);
}

TEST(PortList, AddsAtTheEndWhatWasRemovedBefore)
{
    const SharedPortEntry first = sampleEntry("a", 1, 80);
    const SharedPortEntry second = sampleEntry("b", 2, 81);
    PortList list;
    list.append(first);
    list.append(second);
    list.remove(1, 80);
    list.append(first);
    EXPECT_THAT(list, ElementsAre(second, first));
}

TEST(PortList, FreesWhatItRemoves)
{
    const SharedPortEntry entry = sampleEntry("a", 1, 80);
    PortList list;
    list.append(entry);
    EXPECT_EQ(entry.use_count(), 2);
    list.remove(1, 80);
    EXPECT_EQ(entry.use_count(), 1);
}

TEST(PortList, FindsAndRemovesAfterAMove)
{
    const SharedPortEntry kept = sampleEntry("a", 1, 80);
    PortList source;
    source.append(kept);
    source.append(sampleEntry("b", 2, 81));
    PortList list;
    list.append(sampleEntry("c", 3, 82));
    list = std::move(source);
    EXPECT_FALSE(list.contains(3, 82));
    list.remove(2, 81);
    EXPECT_THAT(list, ElementsAre(kept));
}
