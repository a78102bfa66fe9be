// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PanelModel.h"
#include "App/HelperClient.h"
#include "Core/SerialExecutor.h"
#include "Platform/fake/FakeHelperConnection.h"
#include "UI/Theme.h"
#include "tests/Support/EventLoop.h"
#include "tests/Support/SampleEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSignalSpy>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

QCoro::Task<KillResult> answer(KillResult result)
{
    co_return result;
}

class APanel : public testing::Test
{
protected:
    void open(std::string process, std::int64_t port, PortTier tier = PortTier::Dev)
    {
        state.portOpened(sampleEntry(std::move(process), port, port, tier));
    }

    void openAndShow(std::string process, std::int64_t port, PortTier tier = PortTier::Dev)
    {
        const QSignalSpy shown(&panel, &PanelModel::contentChanged);
        open(std::move(process), port, tier);
        ASSERT_TRUE(await([&shown] { return !shown.isEmpty(); }));
    }

    [[nodiscard]] PanelModel::Services services()
    {
        return {
            .kill =
                [this](std::int64_t pid) {
                    requests.push_back("kill " + std::to_string(pid));
                    return answer(result);
                },
            .scheduleRescan = [this] { requests.emplace_back("rescan"); },
            .print = [this](std::string_view line) { requests.emplace_back(line); },
            .openSettings = [this] { requests.emplace_back("settings"); },
            .quit = [this] { requests.emplace_back("quit"); },
        };
    }

    AppState state;
    std::vector<std::string> requests;
    KillResult result = KillResult::Terminated;
    PanelModel panel{state, services(), "/home/ann"};
};

class AVisiblePanel : public APanel
{
protected:
    AVisiblePanel() { panel.setActive(true); }
};

PortRow rowOf(SharedPortEntry entry)
{
    return {std::move(entry), ""};
}

SharedPortEntry startedAt(std::chrono::milliseconds start, std::int64_t pid, std::int64_t port)
{
    PortEntry entry = *sampleEntry("node", pid, port);
    entry.openedAt = decltype(entry.openedAt)(start);
    return std::make_shared<const PortEntry>(std::move(entry));
}

} // namespace

TEST_F(APanel, DoesNothingWhileItIsNotVisible)
{
    const QSignalSpy shown(&panel, &PanelModel::contentChanged);
    open("node", 3000);
    panel.setSearchQuery(QStringLiteral("x"));
    EXPECT_EQ(panel.rows()->rowCount(), 0);
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(APanel, IsUpToDateAsSoonAsItIsVisible)
{
    open("node", 3000);
    panel.setActive(true);
    EXPECT_EQ(panel.rows()->rowCount(), 1);
    EXPECT_EQ(panel.region(), PanelModel::List);
    panel.setActive(false);
    open("ruby", 4000);
    EXPECT_EQ(panel.rows()->rowCount(), 1);
    panel.setActive(true);
    EXPECT_EQ(panel.rows()->rowCount(), 2);
}

TEST_F(AVisiblePanel, LeavesTheListAloneWhenItsTabIsChosenAgain)
{
    const QSignalSpy replaced(panel.rows(), &PortListModel::replaced);
    panel.selectFilter(PanelModel::All);
    EXPECT_THAT(replaced, IsEmpty());
    panel.selectFilter(PanelModel::Dev);
    EXPECT_EQ(replaced.size(), 1);
}

TEST_F(AVisiblePanel, GathersTheChangesOfAScanIntoOne)
{
    const QSignalSpy shown(&panel, &PanelModel::contentChanged);
    for (int i = 0; i < 500; ++i) {
        open("worker", 10'000 + i);
    }
    EXPECT_THAT(shown, IsEmpty());
    ASSERT_TRUE(await([&shown] { return !shown.isEmpty(); }));
    EXPECT_EQ(shown.size(), 1);
    EXPECT_EQ(panel.rows()->rowCount(), 500);
}

TEST_F(AVisiblePanel, FollowsTheUserAtOnce)
{
    openAndShow("node", 3000);
    openAndShow("Browser", 9090, PortTier::App);
    panel.setSearchQuery(QStringLiteral("node"));
    EXPECT_EQ(panel.rows()->rowCount(), 1);
    EXPECT_EQ(state.searchQuery(), "node");
    panel.setSearchQuery({});
    panel.selectFilter(PanelModel::App);
    EXPECT_EQ(panel.rows()->rowCount(), 1);
    EXPECT_EQ(state.selectedTier(), AppState::TierFilter::App);
}

TEST_F(AVisiblePanel, ShowsThatThereAreNoListenersWhateverIsSearchedFor)
{
    EXPECT_EQ(panel.region(), PanelModel::Empty);
    panel.setSearchQuery(QStringLiteral("node"));
    EXPECT_EQ(panel.region(), PanelModel::Empty);
}

TEST_F(AVisiblePanel, ShowsThatNothingMatches)
{
    openAndShow("node", 3000);
    panel.setSearchQuery(QStringLiteral("ruby"));
    EXPECT_EQ(panel.region(), PanelModel::NoMatches);
}

TEST_F(AVisiblePanel, ShowsNoMatchesWhereAllListenersAreHidden)
{
    openAndShow("sshd", 22, PortTier::System);
    EXPECT_EQ(panel.region(), PanelModel::NoMatches);
}

TEST_F(AVisiblePanel, CountsEveryEntryOnItsTabs)
{
    EXPECT_EQ(panel.tabCounts(), (QList<int>{0, 0, 0, 0}));
    openAndShow("node", 3000);
    openAndShow("ruby", 3001);
    openAndShow("sshd", 22, PortTier::System);
    openAndShow("mystery", 5000, PortTier::Unknown);
    panel.setSearchQuery(QStringLiteral("nothing"));
    EXPECT_EQ(panel.tabCounts(), (QList<int>{4, 2, 0, 1}));
}

TEST_F(AVisiblePanel, NamesItsTabsAndGivesEachItsColour)
{
    const std::pair<PanelModel::Filter, QString> names[] = {
        {PanelModel::All, QStringLiteral("ALL")},
        {PanelModel::Dev, QStringLiteral("DEV")},
        {PanelModel::App, QStringLiteral("APP")},
        {PanelModel::System, QStringLiteral("SYSTEM")}};
    for (const auto &[filter, name] : names) {
        EXPECT_EQ(PanelModel::filterName(filter), name);
    }
    EXPECT_EQ(PanelModel::filterColor(PanelModel::All), Theme::textPrimary());
    EXPECT_EQ(PanelModel::filterColor(PanelModel::Dev).rgb(), qRgb(74, 222, 128));
    EXPECT_EQ(PanelModel::filterColor(PanelModel::App).rgb(), qRgb(96, 165, 250));
    EXPECT_EQ(PanelModel::filterColor(PanelModel::System).rgb(), qRgb(71, 85, 105));
}

TEST_F(AVisiblePanel, CountsTheSystemPortsInItsBanner)
{
    EXPECT_EQ(panel.banner(), QString());
    openAndShow("sshd", 22, PortTier::System);
    EXPECT_EQ(panel.banner(), QStringLiteral("1 SYSTEM PORT HIDDEN"));
    EXPECT_EQ(panel.bannerCall(), QStringLiteral("click to show"));
    openAndShow("cupsd", 631, PortTier::System);
    EXPECT_EQ(panel.banner(), QStringLiteral("2 SYSTEM PORTS HIDDEN"));
}

TEST_F(AVisiblePanel, ShowsAndHidesTheSystemPorts)
{
    openAndShow("sshd", 22, PortTier::System);
    panel.toggleSystemPorts();
    EXPECT_TRUE(state.showSystemPorts());
    EXPECT_EQ(panel.banner(), QStringLiteral("1 SYSTEM PORT SHOWN"));
    EXPECT_EQ(panel.bannerCall(), QStringLiteral("click to hide"));
    EXPECT_EQ(panel.rows()->rowCount(), 1);
    panel.toggleSystemPorts();
    EXPECT_FALSE(state.showSystemPorts());
    EXPECT_EQ(panel.rows()->rowCount(), 0);
}

TEST_F(AVisiblePanel, HasItsBannerUnderTheFirstTabOnly)
{
    openAndShow("sshd", 22, PortTier::System);
    for (const auto filter : {PanelModel::Dev, PanelModel::App, PanelModel::System}) {
        panel.selectFilter(filter);
        EXPECT_EQ(panel.banner(), QString());
    }
}

TEST_F(AVisiblePanel, CountsItsListenersInThePluralAlways)
{
    EXPECT_EQ(panel.listenerCount(), QStringLiteral("0 listeners"));
    openAndShow("node", 3000);
    EXPECT_EQ(panel.listenerCount(), QStringLiteral("1 listeners"));
}

TEST_F(AVisiblePanel, AsksBeforeItKills)
{
    panel.requestKill(rowOf(sampleEntry("node", 812, 3000)));
    EXPECT_TRUE(panel.isConfirming());
    EXPECT_THAT(requests, IsEmpty());
}

TEST_F(AVisiblePanel, StaysWithTheKillItAsksAbout)
{
    panel.requestKill(rowOf(sampleEntry("node", 812, 3000)));
    panel.requestKill(rowOf(sampleEntry("ruby", 999, 4000)));
    panel.confirmKill();
    EXPECT_THAT(requests, ElementsAre("kill 812", "rescan", "[kill] :3000 terminated"));
}

TEST_F(AVisiblePanel, ForgetsAKillThatIsDeclined)
{
    panel.requestKill(rowOf(sampleEntry("node", 812, 3000)));
    panel.cancelKill();
    panel.confirmKill();
    EXPECT_FALSE(panel.isConfirming());
    EXPECT_THAT(requests, IsEmpty());
}

TEST_F(AVisiblePanel, KillsThenAsksForARescanThenPrints)
{
    panel.requestKill(rowOf(sampleEntry("node", 812, 3000)));
    panel.confirmKill();
    EXPECT_FALSE(panel.isConfirming());
    EXPECT_THAT(requests, ElementsAre("kill 812", "rescan", "[kill] :3000 terminated"));
}

TEST_F(AVisiblePanel, PrintsWhatBecameOfEachKillAndRescansAfterEach)
{
    const std::pair<KillResult, const char *> lines[] = {
        {KillResult::Terminated, "[kill] :3000 terminated"},
        {KillResult::Force, "[kill] :3000 force-killed"},
        {KillResult::PermissionDenied, "[kill] :3000 permission denied"},
        {KillResult::NotFound, "[kill] :3000 already gone"},
        {KillResult::XpcUnavailable, "[kill] helper XPC unavailable — is it registered?"}};
    for (const auto &[outcome, line] : lines) {
        result = outcome;
        requests.clear();
        panel.performKill(sampleEntry("node", 812, 3000));
        EXPECT_THAT(requests, ElementsAre("kill 812", "rescan", line));
    }
}

TEST_F(AVisiblePanel, RefusesToKillASystemProcessWithoutAWord)
{
    panel.requestKill(rowOf(sampleEntry("sshd", 611, 22, PortTier::System)));
    panel.confirmKill();
    EXPECT_FALSE(panel.isConfirming());
    EXPECT_THAT(requests, IsEmpty());
}

TEST_F(AVisiblePanel, KillsWhatWasChosenWhateverTheListDoesMeanwhile)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    openAndShow("ruby", 3000);
    panel.setSearchQuery("ruby");
    EXPECT_EQ(panel.confirmedEntry().entry(), chosen);
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, TakesAProcessForGoneThatHasLeftTheListSinceItWasChosen)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    openAndShow("ruby", 3000);
    state.portClosed(*chosen);
    EXPECT_EQ(panel.confirmedEntry().entry(), chosen);
    panel.confirmKill();
    EXPECT_THAT(requests, ElementsAre("rescan", "[kill] :3000 already gone"));
}

TEST_F(AVisiblePanel, KillsWhatWasChosenWhenAScanHasFailedSince)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    state.portClosed(*chosen);
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, KillsWhatWasChosenWhileTheListFillsAfterAScanThatFailed)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    state.portClosed(*chosen);
    openAndShow("ruby", 3001);
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, KillsAProcessThatListensOnOneOfItsPortsStill)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    state.portOpened(chosen);
    state.portOpened(sampleEntry("node", 812, 3001));
    panel.requestKill(rowOf(chosen));
    state.portClosed(*chosen);
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, TakesAProcessForGoneWhoseIdentifierAnotherHasByNow)
{
    const SharedPortEntry chosen = startedAt(std::chrono::seconds(100), 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    state.portClosed(*chosen);
    state.portOpened(startedAt(std::chrono::seconds(200), 812, 4000));
    panel.confirmKill();
    EXPECT_THAT(requests, ElementsAre("rescan", "[kill] :3000 already gone"));
}

TEST_F(AVisiblePanel, KillsAProcessThatListensOnAnotherPortByNow)
{
    const SharedPortEntry chosen = startedAt(std::chrono::seconds(100), 812, 3000);
    state.portOpened(chosen);
    panel.requestKill(rowOf(chosen));
    state.portClosed(*chosen);
    state.portOpened(startedAt(std::chrono::milliseconds(100'400), 812, 4000));
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, KillsWhatIsListedWhateverElseHasItsIdentifier)
{
    const SharedPortEntry chosen = startedAt(std::chrono::seconds(100), 812, 3000);
    state.portOpened(chosen);
    state.portOpened(startedAt(std::chrono::seconds(200), 812, 4000));
    panel.requestKill(rowOf(chosen));
    panel.confirmKill();
    EXPECT_EQ(requests.front(), "kill 812");
}

TEST_F(AVisiblePanel, KeepsTheEntryOfAConfirmationThatFades)
{
    const SharedPortEntry chosen = sampleEntry("node", 812, 3000);
    panel.requestKill(rowOf(chosen));
    panel.cancelKill();
    EXPECT_EQ(panel.confirmedEntry().entry(), chosen);
}

TEST_F(AVisiblePanel, PassesOnWhatOthersDo)
{
    panel.openSettings();
    panel.quit();
    EXPECT_THAT(requests, ElementsAre("settings", "quit"));
}

TEST_F(APanel, KillsThroughTheHelperAndWaitsForItsReply)
{
    const auto record = std::make_shared<FakeHelperConnection::Record>();
    SerialExecutor decoder;
    HelperClient client([record] { return std::make_unique<FakeHelperConnection>(record); },
                        decoder);
    PanelModel::Services real = services();
    real.kill = [&client](std::int64_t pid) { return client.xpcKill(pid); };
    std::optional<PanelModel> other(std::in_place, state, real, "");

    const QCoro::Task<void> task = other->performKill(sampleEntry("node", 812, 3000));
    other.reset(); // the kill outlives its panel
    ASSERT_EQ(record->kills.size(), 1U);
    EXPECT_EQ(record->kills[0].pid, 812);
    EXPECT_THAT(requests, IsEmpty());

    record->kills[0].reply(3, std::nullopt);
    ASSERT_TRUE(await([&task] { return task.isReady(); }));
    EXPECT_THAT(requests, ElementsAre("rescan", "[kill] :3000 already gone"));
}
