// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerFilter.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

/// Whether a search for @p text leaves a server that was started as @p command by a user whose home
/// directory is /home/ada.
bool finds(std::string_view text, std::vector<std::string> command)
{
    RawPortInfo server = record(5173, 4, "node");
    server.arguments = {"node", "internal.js"};
    server.originArguments = std::move(command);
    auto listeners = listenersFrom({server});
    const ListenerFilter filter({.tiers = {}, .search = std::string(text), .ports = {}},
                                "/home/ada");
    filter.apply(listeners);
    return !listeners.empty();
}

std::vector<std::int64_t> portsLeftBy(Selection selection)
{
    auto listeners =
        listenersFrom({systemRecord(22, 1, "sshd"), record(3000, 2, "node"),
                       record(3001, 3, "vite"), record(5000, 4, "flask", "/home/ada/flask")});
    ListenerFilter(std::move(selection), {}).apply(listeners);
    std::vector<std::int64_t> ports;
    ports.reserve(listeners.size());
    for (const Listener &listener : listeners) {
        ports.push_back(listener.entry.port);
    }
    return ports;
}

} // namespace

TEST(ListenerFilter, LeavesEverythingWhenNothingIsSelected)
{
    EXPECT_THAT(portsLeftBy({}), ElementsAre(22, 3000, 3001, 5000));
}

TEST(ListenerFilter, LeavesTheTiersSelected)
{
    EXPECT_THAT(portsLeftBy({.tiers = {PortTier::Dev}, .search = {}, .ports = {}}),
                ElementsAre(3000, 3001));
    EXPECT_THAT(
        portsLeftBy({.tiers = {PortTier::Unknown, PortTier::System}, .search = {}, .ports = {}}),
        ElementsAre(22, 5000));
}

TEST(ListenerFilter, LeavesThePortSelected)
{
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = {}, .ports = {{300, 300}}}), ElementsAre());
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = {}, .ports = {{3000, 3000}}}),
                ElementsAre(3000));
}

TEST(ListenerFilter, LeavesWhatTheSearchFinds)
{
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "300", .ports = {}}), ElementsAre(3000, 3001));
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "FLASK", .ports = {}}), ElementsAre(5000));
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "  ", .ports = {}}),
                ElementsAre(22, 3000, 3001, 5000));
}

TEST(ListenerFilter, FindsTheCommandThatIsShownWhateverTheCase)
{
    EXPECT_TRUE(finds("vite", {"npx", "vite"}));
    EXPECT_TRUE(finds("VITE", {"npx", "vite"}));
    EXPECT_TRUE(finds("npm run dev", {"npm", "run", "dev"}));
    EXPECT_TRUE(finds("caf\u00c9", {"serve", "caf\u00e9"}));
    EXPECT_FALSE(finds("npmrun", {"npm", "run", "dev"}));
    EXPECT_FALSE(finds("internal", {"npm", "run", "dev"})) << "which is not shown";
    EXPECT_TRUE(finds("internal", {})) << "its own command is shown where there is no other";
}

TEST(ListenerFilter, FindsAPathInTheCommandWithTheHomeDirectoryInEitherWriting)
{
    EXPECT_TRUE(finds("~/shop", {"php", "-S", ":80", "/home/ada/shop"}));
    EXPECT_TRUE(finds("/home/ada/shop", {"php", "-S", ":80", "/home/ada/shop"}));
    EXPECT_FALSE(finds("~/shop", {"php", "-S", ":80", "/home/adam/shop"}));
}

TEST(ListenerFilter, LeavesThePortsAndRangesSelected)
{
    EXPECT_THAT(portsLeftBy({.ports = {{22, 22}, {3001, 5000}}}), ElementsAre(22, 3001, 5000));
}

TEST(ListenerFilter, LeavesOutWhatASearchForAnExcludedTextFinds)
{
    EXPECT_THAT(portsLeftBy({.excluded = {"SSH", "flask"}}), ElementsAre(3000, 3001));
    EXPECT_THAT(portsLeftBy({.search = "300", .excluded = {"vite"}}), ElementsAre(3000));
}

TEST(ListenerFilter, LeavesWhatOtherMachinesReach)
{
    auto listeners =
        listenersFrom({record(1, 1, "a"), record(2, 2, "b"), record(3, 3, "c"), record(4, 4, "d")},
                      {}, {at("127.0.0.1"), at("0.0.0.0"), at("::1"), at("192.0.2.1")});
    ListenerFilter({.exposed = true}, {}).apply(listeners);
    ASSERT_EQ(listeners.size(), 2U);
    EXPECT_EQ(listeners[0].entry.port, 2);
    EXPECT_EQ(listeners[1].entry.port, 4);
}

TEST(ListenerFilter, LeavesTheUsersSelectedByNameOrNumber)
{
    const auto leftBy = [](std::vector<std::string> users) {
        ListenerDetails root = at("::");
        root.user = "root";
        ListenerDetails ada = at("::");
        ada.user = "ada";
        ada.userId = 1000;
        auto listeners = listenersFrom({record(1, 1, "a"), record(2, 2, "b")}, {}, {root, ada});
        ListenerFilter({.users = std::move(users)}, {}).apply(listeners);
        std::vector<std::int64_t> ports;
        for (const Listener &listener : listeners) {
            ports.push_back(listener.entry.port);
        }
        return ports;
    };
    EXPECT_THAT(leftBy({"ada"}), ElementsAre(2));
    EXPECT_THAT(leftBy({"0"}), ElementsAre(1));
    EXPECT_THAT(leftBy({"0", "ada"}), ElementsAre(1, 2));
    EXPECT_THAT(leftBy({"ad"}), ElementsAre());
}

TEST(ListenerFilter, CombinesItsConditions)
{
    EXPECT_THAT(portsLeftBy({.tiers = {PortTier::Dev}, .search = "vite", .ports = {{3001, 3001}}}),
                ElementsAre(3001));
    EXPECT_THAT(
        portsLeftBy({.tiers = {PortTier::System}, .search = "vite", .ports = {{3001, 3001}}}),
        ElementsAre());
}

TEST(ListenerFilter, SaysWhatWasNotFound)
{
    EXPECT_EQ(ListenerFilter({}, {}).nothingFound(), "Nothing is listening.");
    EXPECT_EQ(ListenerFilter({.ports = {{1, 2}}}, {}).nothingFound(),
              "Nothing listens on these ports.");
    EXPECT_EQ(
        ListenerFilter({.tiers = {}, .search = {}, .ports = {{3000, 3000}}}, {}).nothingFound(),
        "Nothing listens on port 3000.");
    EXPECT_EQ(ListenerFilter({.tiers = {}, .search = "x", .ports = {}}, {}).nothingFound(),
              "No listener matches.");
    EXPECT_EQ(ListenerFilter({.tiers = {PortTier::Dev}, .search = {}, .ports = {{3000, 3000}}}, {})
                  .nothingFound(),
              "No listener matches.");
}

} // namespace Tarnwick
