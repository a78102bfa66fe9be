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
    const ListenerFilter filter({.tiers = {}, .search = std::string(text), .port = {}},
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
    EXPECT_THAT(portsLeftBy({.tiers = {PortTier::Dev}, .search = {}, .port = {}}),
                ElementsAre(3000, 3001));
    EXPECT_THAT(
        portsLeftBy({.tiers = {PortTier::Unknown, PortTier::System}, .search = {}, .port = {}}),
        ElementsAre(22, 5000));
}

TEST(ListenerFilter, LeavesThePortSelected)
{
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = {}, .port = 300}), ElementsAre());
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = {}, .port = 3000}), ElementsAre(3000));
}

TEST(ListenerFilter, LeavesWhatTheSearchFinds)
{
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "300", .port = {}}), ElementsAre(3000, 3001));
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "FLASK", .port = {}}), ElementsAre(5000));
    EXPECT_THAT(portsLeftBy({.tiers = {}, .search = "  ", .port = {}}),
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

TEST(ListenerFilter, CombinesItsConditions)
{
    EXPECT_THAT(portsLeftBy({.tiers = {PortTier::Dev}, .search = "vite", .port = 3001}),
                ElementsAre(3001));
    EXPECT_THAT(portsLeftBy({.tiers = {PortTier::System}, .search = "vite", .port = 3001}),
                ElementsAre());
}

TEST(ListenerFilter, SaysWhatWasNotFound)
{
    EXPECT_EQ(ListenerFilter({}, {}).nothingFound(), "Nothing is listening.");
    EXPECT_EQ(ListenerFilter({.tiers = {}, .search = {}, .port = 3000}, {}).nothingFound(),
              "Nothing listens on port 3000.");
    EXPECT_EQ(ListenerFilter({.tiers = {}, .search = "x", .port = {}}, {}).nothingFound(),
              "No listener matches.");
    EXPECT_EQ(
        ListenerFilter({.tiers = {PortTier::Dev}, .search = {}, .port = 3000}, {}).nothingFound(),
        "No listener matches.");
}

} // namespace Tarnwick
