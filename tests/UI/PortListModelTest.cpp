// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PortListModel.h"
#include "tests/UI/SampleRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>

#include <chrono>
#include <string>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Entries everySecond(const Entries &all)
{
    Entries result;
    for (std::size_t i = 0; i < all.size(); i += 2) {
        result.push_back(all[i]);
    }
    return result;
}

class APortListModel : public testing::Test
{
protected:
    APortListModel()
    {
        const auto note = [this](const std::string &what) {
            return [this, what](const QModelIndex &, int first, int last) {
                m_changes.push_back(what + std::to_string(first) + '-' + std::to_string(last));
            };
        };
        QObject::connect(&m_model, &QAbstractItemModel::rowsInserted, &m_model, note("+"));
        QObject::connect(&m_model, &QAbstractItemModel::rowsRemoved, &m_model, note("-"));
        QObject::connect(&m_model, &QAbstractItemModel::modelReset, &m_model,
                         [this] { m_changes.emplace_back("reset"); });
        QObject::connect(&m_model, &PortListModel::aboutToChange, &m_model,
                         [this] { m_changes.emplace_back("("); });
        QObject::connect(&m_model, &PortListModel::changed, &m_model,
                         [this] { m_changes.emplace_back(")"); });
        QObject::connect(&m_model, &PortListModel::replaced, &m_model,
                         [this] { m_changes.emplace_back("replaced"); });
    }

    void show(const Entries &entries)
    {
        m_model.setEntries(entries);
        m_changes.clear();
    }

    [[nodiscard]] PortRow row(int index) const
    {
        return m_model.data(m_model.index(index), PortListModel::EntryRole).value<PortRow>();
    }

    [[nodiscard]] Entries shown() const
    {
        Entries entries;
        for (int i = 0; i < m_model.rowCount(); ++i) {
            entries.push_back(row(i).entry());
        }
        return entries;
    }

    PortListModel m_model{"/home/ann"};
    QAbstractItemModelTester m_tester{&m_model,
                                      QAbstractItemModelTester::FailureReportingMode::Fatal};
    std::vector<std::string> m_changes;
    SharedPortEntry m_node = sampleEntry("node", 1, 3000);
    SharedPortEntry m_ruby = sampleEntry("ruby", 2, 4000);
    SharedPortEntry m_redis = sampleEntry("redis", 3, 6379);
};

} // namespace

TEST_F(APortListModel, ShowsItsEntriesInTheirOrder)
{
    m_model.setEntries({m_node, m_ruby});
    EXPECT_EQ(shown(), (Entries{m_node, m_ruby}));
    EXPECT_EQ(m_model.roleNames().value(PortListModel::EntryRole), "entry");
}

TEST_F(APortListModel, SaysNothingWhenNothingIsNew)
{
    show({m_node, m_ruby});
    m_model.setEntries({m_node, m_ruby});
    EXPECT_THAT(m_changes, IsEmpty());
}

TEST_F(APortListModel, InsertsAndRemovesOnlyWhatComesAndGoes)
{
    show({m_node, m_redis});
    m_model.setEntries({m_ruby, m_redis});
    EXPECT_THAT(m_changes, ElementsAre("(", "+1-1", "-0-0", ")"));
    EXPECT_EQ(shown(), (Entries{m_ruby, m_redis}));
}

TEST_F(APortListModel, KeepsTheRowOfAnEntryThatStays)
{
    show({m_node, m_redis});
    const QPersistentModelIndex redis = m_model.index(1);
    m_model.setEntries({m_node, m_ruby, m_redis});
    EXPECT_EQ(redis.row(), 2);
    m_model.setEntries({m_redis});
    EXPECT_EQ(redis.row(), 0);
}

TEST_F(APortListModel, TakesAnEntryWithAnotherIdentifierForAnotherRow)
{
    show({m_node});
    const QPersistentModelIndex before = m_model.index(0);
    m_model.setEntries({sampleEntry("node", 1, 3000)});
    EXPECT_FALSE(before.isValid());
}

TEST_F(APortListModel, MergesChangesThatWouldBeTooMany)
{
    const Entries all = manyEntries(3 * static_cast<int>(PortListModel::mostChanges));
    show(all);
    m_model.setEntries(everySecond(all));
    EXPECT_THAT(m_changes, ElementsAre("(", "+300-448", "-1-299", ")"));
    EXPECT_EQ(shown(), everySecond(all));
}

TEST_F(APortListModel, LeavesRowsThatAreLookedAtAloneHoweverManyChange)
{
    const Entries all = manyEntries(3 * static_cast<int>(PortListModel::mostChanges));
    show(all);
    const QPersistentModelIndex seen = m_model.index(100);
    const QPersistentModelIndex unseen = m_model.index(200);
    std::vector<int> places;
    QObject::connect(&m_model, &PortListModel::aboutToChange, &m_model, [this] {
        for (const int row : {101, 100, 98}) {
            m_model.keep(row);
        }
    });
    QObject::connect(&m_model, &PortListModel::changed, &m_model, [this, &places] {
        places = {m_model.keptIndex(0), m_model.keptIndex(1), m_model.keptIndex(2)};
    });
    m_model.setEntries(everySecond(all));
    EXPECT_THAT(places, ElementsAre(-1, 50, 49));
    EXPECT_EQ(seen.row(), 50);
    EXPECT_FALSE(unseen.isValid());
    EXPECT_EQ(shown(), everySecond(all));
}

TEST_F(APortListModel, AppliesAsManyChangesAsAreWorthTheirWhile)
{
    const Entries all = manyEntries(3 * static_cast<int>(PortListModel::mostChanges));
    Entries most;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i % 3 != 1) {
            most.push_back(all[i]);
        }
    }
    show(all);
    m_model.setEntries(most);
    EXPECT_EQ(m_changes.size(), PortListModel::mostChanges + 2);
    EXPECT_EQ(shown(), most);
}

TEST_F(APortListModel, TellsAnotherListFromNews)
{
    show({m_node, m_ruby});
    m_model.replaceEntries({m_ruby});
    EXPECT_THAT(m_changes, ElementsAre("-0-0", "replaced"));
}

TEST_F(APortListModel, HasNoRowsBelowRowsAndNoOtherData)
{
    show({m_node});
    EXPECT_EQ(m_model.rowCount(m_model.index(0)), 0);
    EXPECT_FALSE(m_model.data(m_model.index(0), Qt::DisplayRole).isValid());
    EXPECT_FALSE(m_model.data({}, PortListModel::EntryRole).isValid());
}
