// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchList.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using Order = WatchList::Order;
using testing::ElementsAre;

std::vector<std::int64_t> ports(const WatchList &list)
{
    std::vector<std::int64_t> result;
    for (std::size_t index = 0; index < list.size(); ++index) {
        result.push_back(list.row(index).entry.port);
    }
    return result;
}

std::vector<std::int64_t> visiblePorts(WatchList &list, std::size_t height)
{
    std::vector<std::int64_t> result;
    for (const Listener &listener : list.visible(height)) {
        result.push_back(listener.entry.port);
    }
    return result;
}

struct WatchListTest : testing::Test
{
    WatchList list;

    void update(std::vector<RawPortInfo> records, const std::vector<std::uint64_t> &sockets = {})
    {
        list.update(listenersFrom(std::move(records), sockets));
    }

    std::int64_t selectedPort() { return list.selected()->entry.port; }
};

} // namespace

TEST_F(WatchListTest, HasNothingSelectedWhereThereIsNothing)
{
    update({});
    list.move(1);
    EXPECT_EQ(list.selected(), nullptr);
    EXPECT_THAT(list.visible(5), testing::IsEmpty());
}

TEST_F(WatchListTest, SelectsWhatTakesThePlaceOfARowThatIsGone)
{
    update({record(80, 1, "a"), record(90, 2, "b"), record(95, 3, "c")});
    list.move(1);
    update({record(80, 1, "a"), record(95, 3, "c")});
    EXPECT_EQ(selectedPort(), 95);
    update({record(80, 1, "a")});
    EXPECT_EQ(selectedPort(), 80);
}

TEST_F(WatchListTest, FollowsASocketToItsNextOwner)
{
    update({record(80, 1, "a"), record(90, 2, "b")}, {10, 11});
    list.move(1);
    update({record(70, 9, "x"), record(80, 1, "a"), record(90, 7, "worker")}, {12, 10, 11});
    EXPECT_EQ(selectedPort(), 90);
}

TEST_F(WatchListTest, FollowsAServerWhoseFirstSocketIsGone)
{
    update({record(80, 1, "a"), record(90, 2, "b")}, {10, 11});
    list.move(1);
    update({record(70, 9, "x"), record(80, 1, "a"), record(90, 2, "b")}, {12, 10, 14});
    EXPECT_EQ(selectedPort(), 90);
}

TEST_F(WatchListTest, KeepsTheSelectionWhenItIsSortedAndFiltered)
{
    update({record(80, 3, "apple"), record(90, 2, "berry"), record(95, 1, "cherry")});
    list.move(1);
    list.setOrder(Order::Pid, false);
    EXPECT_THAT(ports(list), ElementsAre(95, 90, 80));
    EXPECT_EQ(selectedPort(), 90);
    list.setFilter("rry");
    EXPECT_THAT(ports(list), ElementsAre(95, 90));
    EXPECT_EQ(selectedPort(), 90);
    list.setFilter("apple");
    EXPECT_EQ(selectedPort(), 80);
}

TEST_F(WatchListTest, SortsByEachColumn)
{
    RawPortInfo first = record(80, 3, "b");
    first.memoryBytes = 1;
    first.processStartedAt -= std::chrono::hours(1);
    first.arguments = {"z"};
    RawPortInfo second = systemRecord(90, 2, "c");
    second.memoryBytes = 3;
    second.arguments = {"y"};
    RawPortInfo third = record(95, 1, "a");
    third.memoryBytes = 2;
    third.processStartedAt += std::chrono::hours(1);
    third.arguments = {"x"};
    update({first, second, third});
    const std::vector<std::pair<Order, std::vector<std::int64_t>>> orders{
        {Order::Port, {80, 90, 95}},   {Order::Tier, {90, 80, 95}},
        {Order::Pid, {95, 90, 80}},    {Order::Process, {95, 80, 90}},
        {Order::Uptime, {80, 90, 95}}, {Order::Memory, {90, 95, 80}},
        {Order::Command, {95, 90, 80}}};
    for (auto [order, expected] : orders) {
        list.setOrder(order, false);
        EXPECT_EQ(ports(list), expected) << WatchList::name(order);
        list.setOrder(order, true);
        std::reverse(expected.begin(), expected.end());
        EXPECT_EQ(ports(list), expected) << WatchList::name(order);
    }
}

TEST_F(WatchListTest, ShowsTheSelectedRowWhateverTheHeight)
{
    update({record(1, 1, "a"), record(2, 2, "a"), record(3, 3, "a"), record(4, 4, "a"),
            record(5, 5, "a")});
    EXPECT_THAT(visiblePorts(list, 3), ElementsAre(1, 2, 3));
    list.move(3);
    EXPECT_THAT(visiblePorts(list, 3), ElementsAre(2, 3, 4));
    list.move(-1);
    EXPECT_THAT(visiblePorts(list, 3), ElementsAre(2, 3, 4)) << "scrolls no further than needed";
    EXPECT_THAT(visiblePorts(list, 1), ElementsAre(3));
    EXPECT_THAT(visiblePorts(list, 9), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(visiblePorts(list, 0), ElementsAre());
}

} // namespace Tarnwick
