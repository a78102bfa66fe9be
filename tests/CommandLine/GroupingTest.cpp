// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Grouping.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

/// The headings of the sorted listeners, and their ports.
std::vector<std::string> grouped(std::vector<Listener> listeners, Grouping grouping)
{
    GroupedListeners::sort(listeners, grouping);
    std::vector<std::string> texts;
    for (const Listener &listener : listeners) {
        texts.push_back(GroupedListeners::heading(grouping, listener, "/home/ada") + " " +
                        std::to_string(listener.entry.port));
    }
    return texts;
}

} // namespace

TEST(Grouping, PutsTheListenersOfAProjectTogetherAndTheOthersLast)
{
    std::vector<Listener> listeners =
        listenersFrom({record(1, 1, "a"), record(2, 2, "b"), record(3, 3, "c"), record(4, 4, "d")});
    listeners[1].project = Project{.folder = "/srv/web", .branch = ""};
    listeners[2].project = Project{.folder = "/home/ada/shop", .branch = "main"};
    listeners[3].project = Project{.folder = "/srv/web", .branch = ""};
    EXPECT_THAT(grouped(std::move(listeners), Grouping::Project),
                ElementsAre("~/shop (main) 3", "/srv/web 2", "/srv/web 4", "other 1"));
}

TEST(Grouping, PutsTiersInTheirOrder)
{
    EXPECT_THAT(grouped(listenersFrom({record(1, 1, "a", "/srv/a"), record(2, 2, "b"),
                                       systemRecord(3, 3, "c")}),
                        Grouping::Tier),
                ElementsAre("system 3", "dev 2", "unknown 1"));
}

TEST(Grouping, GoesByUsersUnitsAndContainers)
{
    std::vector<Listener> listeners = listenersFrom({record(1, 1, "a"), record(2, 2, "b")});
    listeners[0].details.user = "root";
    listeners[1].details.user = "ada";
    listeners[1].details.unit = "web.service";
    listeners[1].details.container = Container{.id = "", .name = "web"};
    EXPECT_THAT(grouped(listeners, Grouping::User), ElementsAre("ada 2", "root 1"));
    EXPECT_THAT(grouped(listeners, Grouping::Unit), ElementsAre("web.service 2", "other 1"));
    EXPECT_THAT(grouped(listeners, Grouping::Container), ElementsAre("web 2", "other 1"));
}

TEST(Grouping, HasHeadingsThatPrint)
{
    std::vector<Listener> listeners = listenersFrom({record(1, 1, "a")});
    listeners[0].project = Project{.folder = "/tmp/\x1b[2J", .branch = "a\nb"};
    EXPECT_THAT(grouped(std::move(listeners), Grouping::Project),
                ElementsAre("/tmp/^[[2J (a^Jb) 1"));
}

TEST(Grouping, IsReadFromItsName)
{
    EXPECT_EQ(GroupedListeners::groupingFrom("project"), Grouping::Project);
    EXPECT_EQ(GroupedListeners::groupingFrom("container"), Grouping::Container);
    EXPECT_EQ(GroupedListeners::groupingFrom("port"), std::nullopt);
    EXPECT_EQ(GroupedListeners::groupingFrom(""), std::nullopt);
}

} // namespace Tarnwick
