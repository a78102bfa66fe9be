// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/DiffEngine.h"
#include "Core/PortRegistry.h"
#include "Core/ScanDifferences.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::IsEmpty;

/// What overlapping scans leave behind, whatever the order in which their changes are made.
namespace {

using Entries = std::vector<SharedPortEntry>;
using Key = std::pair<std::int64_t, std::int64_t>;
using Rows = std::map<Key, SharedPortEntry>;
using Names = std::map<Key, std::string>;

Key keyOf(const PortEntry &entry)
{
    return {entry.pid, entry.port};
}

/// Keeps the rows as the application's state does.
class RowRegistry : public PortRegistry
{
public:
    void portOpened(SharedPortEntry entry) override
    {
        ++changes;
        rows.emplace(keyOf(*entry), entry);
        onChange();
    }
    void portClosed(const PortEntry &entry) override
    {
        ++changes;
        rows.erase(keyOf(entry));
        onChange();
    }

    Rows rows;
    std::size_t changes = 0;
    std::function<void()> onChange = [] {};
};

/// The rows after scans that never overlap, one change after another as for a single scan.
class SerialModel
{
public:
    void scan(const Entries &entries)
    {
        Entries current;
        for (const SharedPortEntry &entry : entries) {
            if (!contains(current, *entry)) {
                current.push_back(entry);
            }
        }
        for (const SharedPortEntry &entry : current) {
            if (!contains(m_previous, *entry)) {
                m_registry.portOpened(entry);
            }
        }
        for (const SharedPortEntry &entry : m_previous) {
            if (!contains(current, *entry)) {
                m_registry.portClosed(*entry);
            }
        }
        m_previous = std::move(current);
    }

    [[nodiscard]] Names names() const { return namesOf(m_registry.rows); }

    static Names namesOf(const Rows &rows)
    {
        Names names;
        for (const auto &[key, entry] : rows) {
            names.emplace(key, entry->process);
        }
        return names;
    }

private:
    static bool contains(const Entries &entries, const PortEntry &wanted)
    {
        return std::ranges::any_of(
            entries, [&wanted](const SharedPortEntry &entry) { return *entry == wanted; });
    }

    Entries m_previous;
    RowRegistry m_registry;
};

/// Some of a few listeners, each under one of two names, some of them twice; or none, or all.
Entries randomScan(std::mt19937 &random)
{
    constexpr std::int64_t listeners = 6;
    Entries entries;
    const std::size_t share = random() % 5; // of four
    for (std::int64_t pid = 1; pid <= listeners; ++pid) {
        if (random() % 4 < share) {
            const std::string name = random() % 6 == 0 ? "renamed" : "server";
            entries.push_back(sampleEntry(name, pid, 3000 + pid));
            if (random() % 8 == 0) {
                entries.push_back(sampleEntry(random() % 2 == 0 ? name : "other", pid, 3000 + pid));
            }
        }
    }
    std::shuffle(entries.begin(), entries.end(), random);
    return entries;
}

/// The calls of an engine, in whose place @p random chooses which one goes on.
class Calls
{
public:
    Calls(ScanDifferences &differences, RowRegistry &registry)
        : m_differences(differences)
        , m_registry(registry)
    {
    }

    void begin(const Entries &entries) { m_changes.push_back(m_differences.begin(entries)); }
    [[nodiscard]] bool areEnded() const { return m_changes.empty(); }

    void goOn(std::mt19937 &random)
    {
        const auto call =
            m_changes.begin() + static_cast<std::ptrdiff_t>(random() % m_changes.size());
        if (call->empty()) {
            *call = m_differences.repairs();
            if (call->empty()) {
                m_differences.end();
                m_changes.erase(call);
            }
            return;
        }
        call->front().applyTo(m_registry);
        m_differences.made(call->front());
        call->erase(call->begin());
    }

private:
    ScanDifferences &m_differences;
    RowRegistry &m_registry;
    std::vector<std::vector<EntryChange>> m_changes;
};

/// The rows that were there before and belong there still are those that were there before.
void expectUntouched(const Rows &before, const Rows &after, const Entries &scan)
{
    for (const SharedPortEntry &entry : scan) {
        const auto was = before.find(keyOf(*entry));
        const auto is = after.find(keyOf(*entry));
        if (was != before.end() && is != after.end()) {
            EXPECT_EQ(was->second->id, is->second->id);
        }
    }
}

} // namespace

TEST(OverlappingScans, LeaveWhatOneAfterAnotherWouldInAnyOrderOfTheirChanges)
{
    for (unsigned seed = 0; seed < 20'000; ++seed) {
        std::mt19937 random(seed);
        ScanDifferences differences;
        RowRegistry registry;
        SerialModel model;
        Calls calls(differences, registry);
        for (std::size_t scans = 2 + random() % 4; scans > 0 || !calls.areEnded();) {
            if (scans > 0 && (calls.areEnded() || random() % 4 == 0)) {
                const Entries scan = randomScan(random);
                model.scan(scan);
                calls.begin(scan);
                --scans;
            } else {
                calls.goOn(random);
            }
        }
        ASSERT_EQ(SerialModel::namesOf(registry.rows), model.names()) << "seed " << seed;
    }
}

TEST(OverlappingScans, NameAListenerAsTheLastOfThemDoesThatTookItsProcessUpAnew)
{
    const SharedPortEntry shell = sampleEntry("sh", 1, 3001);
    const SharedPortEntry server = sampleEntry("server", 1, 3001);
    RowRegistry registry;
    ScanDifferences differences;
    const auto make = [&](const std::vector<EntryChange> &changes) {
        for (const EntryChange &change : changes) {
            change.applyTo(registry);
            differences.made(change);
        }
    };
    // The process runs another program, and the scan between leaves it out.
    const std::vector<EntryChange> first = differences.begin({shell});
    const std::vector<EntryChange> second = differences.begin({});
    const std::vector<EntryChange> third = differences.begin({server});
    make(second);
    differences.end();
    make(first);
    differences.end();
    make(third);
    make(differences.repairs());
    EXPECT_THAT(differences.repairs(), IsEmpty());
    EXPECT_EQ(registry.rows.at({1, 3001}), server);
}

TEST(OverlappingScans, LeaveNothingToRepairForAScanThatRunsAlone)
{
    for (unsigned seed = 0; seed < 2000; ++seed) {
        std::mt19937 random(seed);
        ScanDifferences differences;
        for (int scans = 0; scans < 5; ++scans) {
            for (const EntryChange &change : differences.begin(randomScan(random))) {
                differences.made(change);
            }
            ASSERT_THAT(differences.repairs(), IsEmpty()) << "seed " << seed;
            differences.end();
        }
    }
}

TEST(OverlappingScans, OfAnEmptyAnswerAndAFullOneInOneTurnLeaveAllRows)
{
    RowRegistry registry;
    DiffEngine engine(registry);
    Entries full;
    for (std::int64_t pid = 1; pid <= 40; ++pid) {
        full.push_back(sampleEntry("server", pid, 3000 + pid));
    }
    const auto awaitAll = [](const std::vector<QCoro::Task<void>> &tasks) {
        return await([&tasks] { return std::ranges::all_of(tasks, &QCoro::Task<void>::isReady); });
    };
    std::vector<QCoro::Task<void>> tasks;
    tasks.push_back(engine.process(full));
    ASSERT_TRUE(awaitAll(tasks));
    tasks.push_back(engine.process({}));
    tasks.push_back(engine.process(full));
    ASSERT_TRUE(awaitAll(tasks));
    EXPECT_EQ(registry.rows.size(), full.size());
    tasks.push_back(engine.process(full));
    tasks.push_back(engine.process({}));
    ASSERT_TRUE(awaitAll(tasks));
    EXPECT_THAT(registry.rows, IsEmpty());
}

TEST(OverlappingScans, KeepARenamedListenerOff)
{
    RowRegistry registry;
    DiffEngine engine(registry);
    const auto process = [&engine](std::vector<Entries> scans) {
        std::vector<QCoro::Task<void>> tasks;
        for (Entries &scan : scans) {
            tasks.push_back(engine.process(std::move(scan)));
        }
        ASSERT_TRUE(
            await([&tasks] { return std::ranges::all_of(tasks, &QCoro::Task<void>::isReady); }));
    };
    const Entries renamed{sampleEntry("renamed", 1, 3001), sampleEntry("server", 2, 3002)};
    process({{sampleEntry("server", 1, 3001), sampleEntry("server", 2, 3002)}});
    process({renamed, renamed, renamed});
    EXPECT_EQ(SerialModel::namesOf(registry.rows), (Names{{{2, 3002}, "server"}}));
    process({renamed});
    EXPECT_EQ(SerialModel::namesOf(registry.rows), (Names{{{2, 3002}, "server"}}));
    process({{}, renamed});
    EXPECT_EQ(SerialModel::namesOf(registry.rows),
              (Names{{{1, 3001}, "renamed"}, {{2, 3002}, "server"}}));
}

TEST(OverlappingScans, LeaveWhatOneAfterAnotherWouldOnTheRealThreads)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        RowRegistry registry;
        DiffEngine engine(registry);
        SerialModel model;
        std::vector<QCoro::Task<void>> tasks;
        tasks.reserve(8);
        std::size_t left = 2 + random() % 5;
        const auto scan = [&] {
            const Entries entries = randomScan(random);
            model.scan(entries);
            --left;
            tasks.push_back(engine.process(entries));
        };
        registry.onChange = [&] {
            if (left > 0 && random() % 3 == 0) {
                scan();
            }
        };
        const auto areEnded = [&tasks] {
            return std::ranges::all_of(tasks, &QCoro::Task<void>::isReady);
        };
        while (left > 0) {
            for (std::size_t inOneTurn = 1 + random() % 3; inOneTurn > 0 && left > 0; --inOneTurn) {
                scan();
            }
            ASSERT_TRUE(await(areEnded));
        }
        ASSERT_EQ(SerialModel::namesOf(registry.rows), model.names()) << "seed " << seed;

        // One that runs alone has nothing to make good, and touches no row that stays.
        const Rows before = registry.rows;
        const Entries last = randomScan(random);
        model.scan(last);
        tasks.push_back(engine.process(last));
        ASSERT_TRUE(await(areEnded));
        ASSERT_EQ(SerialModel::namesOf(registry.rows), model.names()) << "seed " << seed;
        expectUntouched(before, registry.rows, last);
    }
}
