// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppState.h"

#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using TierFilter = AppState::TierFilter;

std::vector<std::string> namesOf(const auto &entries)
{
    std::vector<std::string> names;
    std::ranges::transform(entries, std::back_inserter(names),
                           [](const SharedPortEntry &entry) { return entry->process; });
    return names;
}

/// One entry of each tier.
void openOneOfEachTier(AppState &state)
{
    state.portOpened(sampleEntry("system", 1, 1001, PortTier::System));
    state.portOpened(sampleEntry("app", 2, 1002, PortTier::App));
    state.portOpened(sampleEntry("dev", 3, 1003, PortTier::Dev));
    state.portOpened(sampleEntry("unknown", 4, 1004, PortTier::Unknown));
}

/// What observers of @p state are told: the number of the property before a change, and the name
/// of the property after it, each with the number of ports at that moment.
class Observer
{
public:
    explicit Observer(AppState &state)
    {
        const auto note = [this, &state](std::string text) {
            notices.push_back(std::move(text) + ' ' + std::to_string(state.ports().size()));
        };
        QObject::connect(&state, &AppState::willChange, &state,
                         [note](AppState::Property property) {
                             note("will " + std::to_string(static_cast<int>(property)));
                         });
        QObject::connect(&state, &AppState::portsChanged, &state, [note] { note("ports"); });
        QObject::connect(&state, &AppState::selectedTierChanged, &state, [note] { note("tier"); });
        QObject::connect(&state, &AppState::searchQueryChanged, &state, [note] { note("query"); });
        QObject::connect(&state, &AppState::showSystemPortsChanged, &state,
                         [note] { note("switch"); });
    }

    std::vector<std::string> notices;
};

} // namespace

TEST(AppState, ShowsNothingAtFirst)
{
    const AppState state;
    EXPECT_TRUE(state.ports().empty());
    EXPECT_EQ(state.selectedTier(), TierFilter::All);
    EXPECT_EQ(state.searchQuery(), "");
    EXPECT_FALSE(state.showSystemPorts());
    EXPECT_THAT(state.filteredPorts(), IsEmpty());
    EXPECT_THAT(state.tierCounts(), IsEmpty());
}

TEST(AppState, IsSharedByTheWholeProgram)
{
    EXPECT_EQ(&AppState::shared(), &AppState::shared());
}

TEST(AppState, NamesItsFiltersAsTheTiersAreNamed)
{
    EXPECT_EQ(rawValue(TierFilter::All), "all");
    for (const TierFilter filter : {TierFilter::Dev, TierFilter::App, TierFilter::System}) {
        EXPECT_NE(portTierFromRawValue(rawValue(filter)), std::nullopt);
    }
    EXPECT_EQ(rawValue(TierFilter::Dev), "dev");
    EXPECT_EQ(rawValue(TierFilter::App), "app");
    EXPECT_EQ(rawValue(TierFilter::System), "system");
}

TEST(AppState, OffersItsFiltersInTheirOrder)
{
    EXPECT_THAT(AppState::allTierFilters,
                ElementsAre(TierFilter::All, TierFilter::Dev, TierFilter::App, TierFilter::System));
}

TEST(AppState, HidesTheSystemsPortsUnderAllWhileTheSwitchIsOff)
{
    AppState state;
    openOneOfEachTier(state);
    EXPECT_THAT(namesOf(state.filteredPorts()), ElementsAre("app", "dev", "unknown"));
    state.setShowSystemPorts(true);
    EXPECT_THAT(namesOf(state.filteredPorts()), ElementsAre("system", "app", "dev", "unknown"));
}

TEST(AppState, KeepsOneTierUnderItsFilterWhateverTheSwitch)
{
    AppState state;
    openOneOfEachTier(state);
    for (const bool show : {false, true}) {
        state.setShowSystemPorts(show);
        for (const TierFilter filter : {TierFilter::Dev, TierFilter::App, TierFilter::System}) {
            state.setSelectedTier(filter);
            EXPECT_THAT(namesOf(state.filteredPorts()), ElementsAre(rawValue(filter)));
        }
    }
}

TEST(AppState, ListsEverythingForASearchOfSpaces)
{
    AppState state;
    openOneOfEachTier(state);
    state.setSearchQuery(" \t ");
    EXPECT_THAT(namesOf(state.filteredPorts()), ElementsAre("app", "dev", "unknown"));
}

TEST(AppState, SearchesAmongWhatTheFilterKeeps)
{
    AppState state;
    state.portOpened(sampleEntry("node", 1, 80, PortTier::Dev));
    state.portOpened(sampleEntry("node", 2, 8080, PortTier::System));
    state.portOpened(sampleEntry("ruby", 3, 3800, PortTier::App));
    state.setSearchQuery("80");
    state.setShowSystemPorts(true);
    EXPECT_EQ(state.filteredPorts().size(), 3U);
    state.setSearchQuery("NODE");
    EXPECT_EQ(state.filteredPorts().size(), 2U);
    state.setShowSystemPorts(false);
    EXPECT_EQ(state.filteredPorts().size(), 1U);
    state.setSelectedTier(TierFilter::App);
    EXPECT_THAT(state.filteredPorts(), IsEmpty());
}

TEST(AppState, SearchesNeitherTheWorkingDirectoryNorTheArguments)
{
    PortEntry entry = *sampleEntry("node", 1, 80);
    entry.cwd = "/home/ann/site";
    entry.arguments = {"listen.js"};
    entry.originArguments = {"npm"};
    AppState state;
    state.portOpened(std::make_shared<const PortEntry>(entry));
    for (const std::string_view text : {"site", "listen", "npm"}) {
        state.setSearchQuery(std::string(text));
        EXPECT_THAT(state.filteredPorts(), IsEmpty()) << text;
    }
}

TEST(AppState, ListsByPortAndThenInTheOrderOfAddition)
{
    AppState state;
    state.portOpened(sampleEntry("https", 9, 443));
    state.portOpened(sampleEntry("second", 8, 5432));
    state.portOpened(sampleEntry("third", 1, 5432));
    state.portOpened(sampleEntry("ssh", 7, 22));
    EXPECT_THAT(namesOf(state.filteredPorts()), ElementsAre("ssh", "https", "second", "third"));
    EXPECT_THAT(namesOf(state.ports()), ElementsAre("https", "second", "third", "ssh"));
}

TEST(AppState, KeepsTheOrderOfManyEntriesOfOnePort)
{
    AppState state;
    for (std::int64_t pid = 1; pid <= 200; ++pid) {
        state.portOpened(sampleEntry("server", 1000 - pid, pid % 2 == 0 ? 80 : 443));
    }
    std::vector<SharedPortEntry> expected(state.ports().begin(), state.ports().end());
    std::ranges::stable_partition(expected,
                                  [](const SharedPortEntry &entry) { return entry->port == 80; });
    EXPECT_EQ(state.filteredPorts(), expected);
}

TEST(AppState, IgnoresAPortThatIsAlreadyOpenWhateverItsProcess)
{
    AppState state;
    state.portOpened(sampleEntry("node", 1, 80));
    state.portOpened(sampleEntry("ruby", 1, 80));
    EXPECT_THAT(namesOf(state.ports()), ElementsAre("node"));
}

TEST(AppState, KeepsOneProcessOnTwoPortsAndTwoProcessesOnOne)
{
    AppState state;
    state.portOpened(sampleEntry("node", 1, 80));
    state.portOpened(sampleEntry("node", 1, 81));
    state.portOpened(sampleEntry("node", 2, 80));
    EXPECT_EQ(state.ports().size(), 3U);
}

TEST(AppState, ClosesEveryEntryOfThatProcessAndPort)
{
    AppState state;
    state.setPorts({sampleEntry("a", 1, 80), sampleEntry("b", 2, 80), sampleEntry("c", 1, 80),
                    sampleEntry("d", 1, 81)});
    state.portClosed(*sampleEntry("other", 1, 80));
    EXPECT_THAT(namesOf(state.ports()), ElementsAre("b", "d"));
}

TEST(AppState, ClosesAnEntryThatOnlyItselfOwns)
{
    AppState state;
    state.portOpened(sampleEntry("a", 1, 80));
    state.portClosed(**state.ports().begin());
    EXPECT_TRUE(state.ports().empty());
}

TEST(AppState, CountsThePortsOfEachTierThatHasAny)
{
    AppState state;
    state.portOpened(sampleEntry("a", 1, 80, PortTier::Dev));
    state.portOpened(sampleEntry("b", 2, 81, PortTier::Dev));
    state.portOpened(sampleEntry("c", 3, 82, PortTier::System));
    const auto expectCounts = [&state] {
        EXPECT_THAT(state.tierCounts(),
                    ElementsAre(Pair(PortTier::System, 1), Pair(PortTier::Dev, 2)));
    };
    expectCounts();
    state.setSearchQuery("nothing has this");
    expectCounts();
    state.setShowSystemPorts(true);
    expectCounts();
    state.setSelectedTier(TierFilter::App);
    expectCounts();
}

TEST(AppState, TellsObserversBeforeAndAfterEachAssignment)
{
    AppState state;
    const Observer observer(state);
    state.setPorts({sampleEntry("a", 1, 80)});
    state.setSelectedTier(TierFilter::Dev);
    state.setSearchQuery("node");
    state.setShowSystemPorts(true);
    EXPECT_THAT(observer.notices, ElementsAre("will 0 0", "ports 1", "will 1 1", "tier 1",
                                              "will 2 1", "query 1", "will 3 1", "switch 1"));
}

TEST(AppState, TellsObserversWhileThePropertyHasItsOldValue)
{
    AppState state;
    std::vector<std::string> seen;
    QObject::connect(&state, &AppState::willChange, [&](AppState::Property /*property*/) {
        seen.push_back(std::string(rawValue(state.selectedTier())) + state.searchQuery() +
                       (state.showSystemPorts() ? "on" : "off"));
    });
    state.setSelectedTier(TierFilter::Dev);
    state.setSearchQuery("x");
    state.setShowSystemPorts(true);
    EXPECT_THAT(seen, ElementsAre("alloff", "devoff", "devxoff"));
}

TEST(AppState, TellsObserversOfAnAssignmentOfTheSameValue)
{
    AppState state;
    const Observer observer(state);
    state.setPorts({});
    state.setSelectedTier(TierFilter::All);
    state.setSearchQuery("");
    state.setShowSystemPorts(false);
    EXPECT_THAT(observer.notices, ElementsAre("will 0 0", "ports 0", "will 1 0", "tier 0",
                                              "will 2 0", "query 0", "will 3 0", "switch 0"));
}

TEST(AppState, TellsObserversOnceOfAPortThatOpensAndNotOfADuplicate)
{
    AppState state;
    const Observer observer(state);
    state.portOpened(sampleEntry("a", 1, 80));
    state.portOpened(sampleEntry("b", 1, 80));
    EXPECT_THAT(observer.notices, ElementsAre("will 0 0", "ports 1"));
}

TEST(AppState, TellsObserversOnceOfARemovalWhateverItRemoves)
{
    AppState state;
    state.setPorts({sampleEntry("a", 1, 80), sampleEntry("b", 1, 80)});
    const Observer observer(state);
    state.portClosed(*sampleEntry("a", 1, 80));
    state.portClosed(*sampleEntry("a", 1, 80));
    EXPECT_THAT(observer.notices, ElementsAre("will 0 2", "ports 0", "will 0 0", "ports 0"));
}

TEST(AppState, FillsAndEmptiesInTimeThatGrowsWithTheNumberOfPorts)
{
    constexpr std::int64_t count = 200'000; // would take many minutes if each looked at all others
    AppState state;
    std::vector<SharedPortEntry> entries;
    for (std::int64_t i = 0; i < count; ++i) {
        entries.push_back(sampleEntry("server", 1 + i / 65'535, 1 + i % 65'535));
    }
    const auto begin = std::chrono::steady_clock::now();
    for (const SharedPortEntry &entry : entries) {
        state.portOpened(entry);
    }
    EXPECT_EQ(state.ports().size(), static_cast<std::size_t>(count));
    for (const SharedPortEntry &entry : entries) {
        state.portClosed(*entry);
        EXPECT_TRUE(state.ports().empty() || state.ports().begin() != state.ports().end());
    }
    EXPECT_TRUE(state.ports().empty());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}
