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
std::vector<std::string> texts(const std::vector<ListChange> &changes)
{
    std::vector<std::string> result;
    for (const ListChange &change : changes) {
        result.push_back((change.kind == ListChange::Kind::Removal ? "-" : "+") +
                         std::to_string(change.row) + 'x' + std::to_string(change.count));
    }
    return result;
}

std::vector<std::string> steps(const Entries &before, const Entries &after)
{
    return texts(ListChange::between(before, after));
}

Entries applied(Entries list, const Entries &after, const std::vector<ListChange> &changes)
{
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

Entries applied(const Entries &before, const Entries &after)
{
    return applied(before, after, ListChange::between(before, after));
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

TEST_F(AListChange, IsMergedAcrossWhatNobodyLooksAt)
{
    const Entries before{a, b, c, d};
    const Entries after{b, d, sampleEntry("e", 5, 50)};
    const auto changes = ListChange::between(before, after);
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(applied(before, after, ListChange::merged(changes, {})), after);
    EXPECT_EQ(ListChange::merged(changes, {}).size(), 2U);

    const std::vector<std::size_t> kept{1};
    EXPECT_EQ(applied(before, after, ListChange::merged(changes, kept)), after);
    EXPECT_THAT(texts(ListChange::merged(changes, kept)), ElementsAre("-0x1", "-2x2", "+4x2"));
    EXPECT_THAT(ListChange::merged({}, kept), IsEmpty());
}

TEST_F(AListChange, LeadsToTheSameListHoweverItIsMerged)
{
    std::mt19937 random(20261121); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
    const Entries all = manyEntries(60);
    for (int round = 0; round < 200; ++round) {
        Entries before;
        Entries after;
        std::vector<std::size_t> kept;
        for (const SharedPortEntry &entry : all) {
            const unsigned choice = random() % 8;
            if (choice < 6) {
                if (choice == 0) {
                    kept.push_back(before.size());
                }
                before.push_back(entry);
            }
            if (choice < 5 || choice == 7) {
                after.push_back(entry);
            }
        }
        const auto changes = ListChange::merged(ListChange::between(before, after), kept);
        EXPECT_EQ(applied(before, after, changes), after);
        for (const std::size_t row : kept) {
            EXPECT_TRUE(std::ranges::none_of(changes, [row](const ListChange &change) {
                return change.kind == ListChange::Kind::Removal && change.row <= row &&
                       row < change.row + change.count;
            }));
        }
        EXPECT_LE(changes.size(), 2 * (kept.size() + 1));
    }
}
