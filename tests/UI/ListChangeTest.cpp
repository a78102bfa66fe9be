// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/ListChange.h"
#include "tests/UI/SampleRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <ranges>
#include <string>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// "-row+count" of a removal, "+row+count" of an insertion.
std::vector<std::string> steps(const Entries &before, const Entries &after)
{
    std::vector<std::string> result;
    for (const ListChange &change : ListChange::between(before, after)) {
        result.push_back((change.kind == ListChange::Kind::Removal ? "-" : "+") +
                         std::to_string(change.row) + 'x' + std::to_string(change.count));
    }
    return result;
}

Entries applied(Entries list, const Entries &after)
{
    const std::vector<ListChange> changes = ListChange::between(list, after);
    for (const ListChange &change : std::views::reverse(changes)) {
        const auto row = list.begin() + static_cast<std::ptrdiff_t>(change.row);
        const auto count = static_cast<std::ptrdiff_t>(change.count);
        if (change.kind == ListChange::Kind::Removal) {
            list.erase(row, row + count);
        } else {
            const auto source = after.begin() + static_cast<std::ptrdiff_t>(change.source);
            list.insert(row, source, source + count);
        }
    }
    return list;
}

class AListChange : public testing::Test
{
protected:
    SharedPortEntry a = sampleEntry("a", 1, 10);
    SharedPortEntry b = sampleEntry("b", 2, 20);
    SharedPortEntry c = sampleEntry("c", 3, 30);
    SharedPortEntry d = sampleEntry("d", 4, 40);
};

} // namespace

TEST_F(AListChange, IsNoneBetweenEqualLists)
{
    EXPECT_THAT(steps({a, b}, {a, b}), IsEmpty());
    EXPECT_THAT(steps({}, {}), IsEmpty());
}

TEST_F(AListChange, IsOneInsertionForNeighbours)
{
    EXPECT_THAT(steps({a, d}, {a, b, c, d}), ElementsAre("+1x2"));
    EXPECT_THAT(steps({}, {a, b}), ElementsAre("+0x2"));
    EXPECT_THAT(steps({a}, {a, b}), ElementsAre("+1x1"));
}

TEST_F(AListChange, IsOneRemovalForNeighbours)
{
    EXPECT_THAT(steps({a, b, c, d}, {a, d}), ElementsAre("-1x2"));
    EXPECT_THAT(steps({a, b}, {}), ElementsAre("-0x2"));
}

TEST_F(AListChange, LeavesWhatStaysAlone)
{
    EXPECT_THAT(steps({a, b, d}, {b, c, d}), ElementsAre("-0x1", "+2x1"));
}

TEST_F(AListChange, TellsEntriesOfOnePortApart)
{
    const SharedPortEntry other = sampleEntry("other", 5, 20);
    EXPECT_THAT(steps({a, b, other}, {a, other}), ElementsAre("-1x1"));
    EXPECT_THAT(steps({a, b}, {a, b, other}), ElementsAre("+2x1"));
}

TEST_F(AListChange, ReplacesAnEntryThatWasBuiltAnew)
{
    const SharedPortEntry again = sampleEntry("b", 2, 20);
    EXPECT_EQ(applied({a, b, c}, {a, again, c}), (Entries{a, again, c}));
    EXPECT_EQ(steps({a, b, c}, {a, again, c}).size(), 2U);
}

TEST_F(AListChange, FollowsEvenAnotherOrderWithinAPort)
{
    const SharedPortEntry other = sampleEntry("other", 5, 20);
    EXPECT_EQ(applied({b, other, c}, {other, b, c}), (Entries{other, b, c}));
}

TEST_F(AListChange, LeadsFromAnyListToAnyOther)
{
    const Entries all = manyEntries(60);
    std::mt19937 random(7);
    const auto some = [&all, &random] {
        Entries list;
        std::ranges::copy_if(all, std::back_inserter(list),
                             [&random](const SharedPortEntry &) { return random() % 3 != 0; });
        return list;
    };
    for (int i = 0; i < 200; ++i) {
        const Entries before = some();
        const Entries after = some();
        ASSERT_EQ(applied(before, after), after);
    }
}
