// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/DiffEngine.h"

#include "Core/MainThread.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/RecordingRegistry.h"
#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

using Entries = std::vector<SharedPortEntry>;

SharedPortEntry a()
{
    return sampleEntry("a", 1, 1001);
}

SharedPortEntry b()
{
    return sampleEntry("b", 2, 1002);
}

SharedPortEntry c()
{
    return sampleEntry("c", 3, 1003);
}

SharedPortEntry d()
{
    return sampleEntry("d", 4, 1004);
}

Entries manyEntries(std::int64_t count)
{
    Entries entries;
    for (std::int64_t i = 0; i < count; ++i) {
        entries.push_back(sampleEntry("server", 100 + i, 1 + i));
    }
    return entries;
}

class DiffEngineTest : public testing::Test
{
protected:
    /// Has the engine process @p entries to the end; what the registry was told meanwhile.
    std::vector<std::string> callsFor(Entries entries)
    {
        m_registry.calls.clear();
        const QCoro::Task<void> task = m_engine->process(std::move(entries));
        EXPECT_TRUE(await([&task] { return task.isReady(); }));
        return m_registry.calls;
    }

    /// Starts processing the lists of @p later when @p call has reached the registry, one after
    /// another, and waits until all is done.
    std::vector<std::string> callsFor(Entries first, std::string call, std::vector<Entries> later)
    {
        std::vector<QCoro::Task<void>> tasks;
        m_registry.onCall = [&](const std::string &made) {
            if (made == call) {
                for (Entries &entries : std::exchange(later, {})) {
                    tasks.push_back(m_engine->process(std::move(entries)));
                }
            }
        };
        const std::size_t expected = later.size() + 1;
        tasks.reserve(expected);
        m_registry.calls.clear();
        tasks.push_back(m_engine->process(std::move(first)));
        EXPECT_TRUE(await([&] {
            return tasks.size() == expected &&
                   std::ranges::all_of(tasks, &QCoro::Task<void>::isReady);
        }));
        m_registry.onCall = nullptr;
        return m_registry.calls;
    }

    RecordingRegistry m_registry;
    std::optional<DiffEngine> m_engine{std::in_place, m_registry};
};

} // namespace

TEST_F(DiffEngineTest, OpensEveryEntryOfTheFirstScan)
{
    EXPECT_THAT(callsFor({a(), b(), c()}), ElementsAre("+a:1001", "+b:1002", "+c:1003"));
}

TEST_F(DiffEngineTest, ChangesNothingForAnEmptyFirstScan)
{
    EXPECT_THAT(callsFor({}), IsEmpty());
}

TEST_F(DiffEngineTest, ChangesNothingForTheSameScanAgain)
{
    callsFor({a(), b()});
    EXPECT_THAT(callsFor({a(), b()}), IsEmpty());
    EXPECT_THAT(callsFor({b(), a()}), IsEmpty());
}

TEST_F(DiffEngineTest, OpensWhatIsNewAndClosesWhatIsGone)
{
    callsFor({a(), b()});
    EXPECT_THAT(callsFor({b(), c()}), ElementsAre("+c:1003", "-a:1001"));
}

TEST_F(DiffEngineTest, MakesAllAdditionsBeforeAnyRemoval)
{
    callsFor({a(), b()});
    const std::vector<std::string> calls = callsFor({c(), d()});
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 2), ElementsAre("+c:1003", "+d:1004"));
    EXPECT_THAT(std::vector(calls.begin() + 2, calls.end()),
                UnorderedElementsAre("-a:1001", "-b:1002"));
}

TEST_F(DiffEngineTest, OpensOneEntryForAServerOnBothFamilies)
{
    EXPECT_THAT(callsFor({a(), a()}), ElementsAre("+a:1001"));
    EXPECT_THAT(callsFor({a(), a()}), IsEmpty());
}

TEST_F(DiffEngineTest, KeepsTheFirstOfEqualEntries)
{
    class FirstEntry : public PortRegistry
    {
    public:
        void portOpened(SharedPortEntry entry) override { opened.push_back(std::move(entry)); }
        void portClosed(const PortEntry & /*entry*/) override {}
        std::vector<SharedPortEntry> opened;
    } registry;
    DiffEngine engine(registry);
    const SharedPortEntry first = a();
    const QCoro::Task<void> task = engine.process({first, a()});
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(registry.opened, ElementsAre(first));
}

TEST_F(DiffEngineTest, ClosesEverythingForAnEmptyScanAndThenOpensItAgain)
{
    callsFor({a(), b()});
    EXPECT_THAT(callsFor({}), UnorderedElementsAre("-a:1001", "-b:1002"));
    EXPECT_THAT(callsFor({}), IsEmpty());
    EXPECT_THAT(callsFor({a(), b()}), ElementsAre("+a:1001", "+b:1002"));
}

TEST_F(DiffEngineTest, OpensARestartedProcessBeforeItClosesTheOldOne)
{
    callsFor({sampleEntry("old", 1, 3000)});
    EXPECT_THAT(callsFor({sampleEntry("new", 9, 3000)}), ElementsAre("+new:3000", "-old:3000"));
}

TEST_F(DiffEngineTest, TakesARenamedProcessForAnotherEntryAndRemembersIt)
{
    callsFor({sampleEntry("sh", 1, 3000)});
    EXPECT_THAT(callsFor({sampleEntry("node", 1, 3000)}), ElementsAre("+node:3000", "-sh:3000"));
    EXPECT_THAT(callsFor({sampleEntry("node", 1, 3000)}), IsEmpty());
}

TEST_F(DiffEngineTest, KeepsTheObjectOfAnEntryThatStays)
{
    const SharedPortEntry first = a();
    SharedPortEntry second = a();
    const std::weak_ptr<const PortEntry> weakSecond = second;
    callsFor({first});
    callsFor({std::move(second)});
    EXPECT_TRUE(weakSecond.expired());
    EXPECT_EQ(first.use_count(), 4); // the engine's three and this one
}

TEST_F(DiffEngineTest, FreesTheEntriesThatItDoesNotKeepOffTheMainThread)
{
    callsFor({a()});
    std::thread::id freedOn;
    const auto noteThread = [&freedOn](const PortEntry *entry) {
        freedOn = std::this_thread::get_id();
        delete entry;
    };
    Entries entries;
    entries.emplace_back(new PortEntry(*a()), noteThread);
    callsFor(std::move(entries));
    EXPECT_NE(freedOn, std::thread::id());
    EXPECT_NE(freedOn, std::this_thread::get_id());
}

TEST_F(DiffEngineTest, MakesEveryChangeOnTheMainThreadAndEndsThere)
{
    bool alwaysThere = true;
    m_registry.onCall = [&alwaysThere](const std::string & /*call*/) {
        alwaysThere = alwaysThere && MainThread::isCurrent();
    };
    callsFor({a(), b()});
    callsFor({b(), c()});
    EXPECT_TRUE(alwaysThere);
    bool ended = false;
    m_engine->process({b(), d()}).then([&ended] { ended = MainThread::isCurrent(); });
    EXPECT_TRUE(await([&ended] { return ended; }));
}

TEST_F(DiffEngineTest, VisitsTheMainThreadOnceForEachChange)
{
    m_registry.onCall = [this](const std::string & /*call*/) {
        MainThread::post([this] { m_registry.calls.emplace_back("other"); });
    };
    EXPECT_THAT(callsFor({a(), b()}), ElementsAre("+a:1001", "other", "+b:1002", "other"));
    m_registry.onCall = nullptr;
}

TEST_F(DiffEngineTest, LetsASecondCallProceedBetweenTwoChangesOfTheFirst)
{
    EXPECT_THAT(callsFor({a(), b(), c()}, "+a:1001", {{b(), c(), d()}}),
                ElementsAre("+a:1001", "+d:1004", "+b:1002", "-a:1001", "+c:1003"));
}

TEST_F(DiffEngineTest, ComparesASecondCallWithTheFirstThatIsNotYetApplied)
{
    EXPECT_THAT(callsFor({a(), b(), c()}, "+a:1001", {{a(), b(), c()}}),
                ElementsAre("+a:1001", "+b:1002", "+c:1003"));
}

TEST_F(DiffEngineTest, ComparesCallsInTheOrderInWhichTheyCame)
{
    EXPECT_THAT(callsFor({a(), b()}, "+a:1001", {{a(), b(), c()}, {a(), b()}}),
                ElementsAre("+a:1001", "+c:1003", "-c:1003", "+b:1002"));
}

TEST_F(DiffEngineTest, EndsACallInFlightWhenItIsDestroyed)
{
    const QCoro::Task<void> task = m_engine->process({a(), b()});
    m_engine.reset();
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, IsEmpty());
}

TEST_F(DiffEngineTest, EndsACallWhenAChangeDestroysIt)
{
    m_registry.onCall = [this](const std::string & /*call*/) { m_engine.reset(); };
    const QCoro::Task<void> task = m_engine->process({a(), b()});
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(m_registry.calls, ElementsAre("+a:1001"));
}

TEST_F(DiffEngineTest, EndsEveryCallInFlightWhenItIsDestroyedBetweenTwoChanges)
{
    std::vector<QCoro::Task<void>> tasks;
    tasks.push_back(m_engine->process({a(), b(), c()}));
    tasks.push_back(m_engine->process({c(), d()}));
    ASSERT_TRUE(await([this] { return m_registry.calls.size() >= 2; }));
    m_engine.reset();
    const std::size_t calls = m_registry.calls.size();
    ASSERT_TRUE(
        await([&tasks] { return std::ranges::all_of(tasks, &QCoro::Task<void>::isReady); }));
    EXPECT_EQ(m_registry.calls.size(), calls);
}

TEST_F(DiffEngineTest, OpensAndClosesTenThousandListeners)
{
    constexpr std::int64_t count = 10'000;
    EXPECT_EQ(callsFor(manyEntries(count)).size(), static_cast<std::size_t>(count));
    EXPECT_THAT(callsFor(manyEntries(count)), IsEmpty());
    const std::vector<std::string> closed = callsFor({});
    EXPECT_EQ(std::set(closed.begin(), closed.end()).size(), static_cast<std::size_t>(count));
}
