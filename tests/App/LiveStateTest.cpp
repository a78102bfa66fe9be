// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppState.h"
#include "Core/DiffEngine.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;

/// The state as the diff engine keeps it up to date with one scan after another.
namespace {

class LiveState : public testing::Test
{
protected:
    void scan(std::vector<SharedPortEntry> entries)
    {
        const QCoro::Task<void> task = m_engine.process(std::move(entries));
        ASSERT_TRUE(await([&task] { return task.isReady(); }));
    }

    [[nodiscard]] std::vector<SharedPortEntry> ports() const
    {
        return {m_state.ports().begin(), m_state.ports().end()};
    }

    AppState m_state;
    DiffEngine m_engine{m_state};
};

SharedPortEntry withMemory(std::uint64_t bytes)
{
    PortEntry entry = *sampleEntry("node", 1, 3000);
    entry.memoryBytes = bytes;
    return std::make_shared<const PortEntry>(std::move(entry));
}

} // namespace

TEST_F(LiveState, KeepsEveryEntryWhenTwoScansAreTheSame)
{
    const SharedPortEntry first = sampleEntry("node", 1, 3000);
    const SharedPortEntry second = sampleEntry("ruby", 2, 3001);
    scan({first, second});
    scan({sampleEntry("ruby", 2, 3001), sampleEntry("node", 1, 3000)});
    EXPECT_THAT(ports(), ElementsAre(first, second));
}

TEST_F(LiveState, KeepsTheFirstMemoryFigure)
{
    scan({withMemory(100)});
    scan({withMemory(200)});
    ASSERT_EQ(m_state.ports().size(), 1U);
    EXPECT_EQ(ports()[0]->memoryBytes, 100U);
}

TEST_F(LiveState, PutsARestartedProcessInThePlaceOfTheOldOne)
{
    const SharedPortEntry restarted = sampleEntry("node", 2, 3000);
    scan({sampleEntry("node", 1, 3000)});
    scan({restarted});
    EXPECT_THAT(ports(), ElementsAre(restarted));
}

TEST_F(LiveState, ShowsAServerOnBothFamiliesOnce)
{
    scan({sampleEntry("node", 1, 3000), sampleEntry("node", 1, 3000)});
    EXPECT_EQ(m_state.ports().size(), 1U);
}

TEST_F(LiveState, EmptiesAndFillsAgainWithNewIdentifiers)
{
    const SharedPortEntry first = sampleEntry("node", 1, 3000);
    const SharedPortEntry again = sampleEntry("node", 1, 3000);
    scan({first});
    scan({});
    EXPECT_TRUE(m_state.ports().empty());
    scan({again});
    ASSERT_EQ(m_state.ports().size(), 1U);
    EXPECT_EQ(ports()[0]->id, again->id);
    EXPECT_NE(ports()[0]->id, first->id);
}

TEST_F(LiveState, LosesAListenerWhoseProcessIsRenamedUntilItListensAnew)
{
    scan({sampleEntry("sh", 1, 3000), sampleEntry("ruby", 2, 3001)});
    scan({sampleEntry("node", 1, 3000), sampleEntry("ruby", 2, 3001)});
    EXPECT_EQ(m_state.ports().size(), 1U);
    scan({sampleEntry("node", 1, 3000), sampleEntry("ruby", 2, 3001)});
    EXPECT_EQ(m_state.ports().size(), 1U);
    scan({sampleEntry("ruby", 2, 3001)});
    scan({sampleEntry("node", 1, 3000), sampleEntry("ruby", 2, 3001)});
    EXPECT_EQ(m_state.ports().size(), 2U);
}

TEST_F(LiveState, KeepsOneObjectForEachEntry)
{
    scan({sampleEntry("node", 1, 3000)});
    scan({sampleEntry("node", 1, 3000)});
    const SharedPortEntry entry = ports().at(0);
    EXPECT_EQ(entry.use_count(), 5); // the state's, the engine's three and this one
}
