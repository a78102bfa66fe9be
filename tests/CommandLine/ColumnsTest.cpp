// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Columns.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

Listener listener()
{
    Listener made = listenersFrom({record(3000, 4711, "node")}).front();
    made.details = at("127.0.0.1");
    made.details.user = "ada";
    made.details.unit = "shop.service";
    made.details.socketUnit = "shop.socket";
    made.details.container =
        Container{.id = "3f2a9c1d5e6f7a8b9c0d", .name = "", .runtime = "podman"};
    made.project = Project{.folder = "/home/ada/shop", .branch = "main"};
    made.ancestors = {{.pid = 4000, .name = "npm"}, {.pid = 1, .name = "init"}};
    return made;
}

std::string text(Column column)
{
    return Columns::text(column, listener(),
                         {.now = Timestamp(std::chrono::hours(1000)), .home = "/home/ada"});
}

/// The ports of listeners in the order that @p list asks for.
std::vector<std::int64_t> sorted(std::vector<Listener> listeners, std::string_view list)
{
    const auto order = Columns::orderFrom(list);
    EXPECT_TRUE(order) << list;
    Columns::sort(listeners, order.value_or(std::vector<SortKey>()));
    std::vector<std::int64_t> ports;
    for (const Listener &each : listeners) {
        ports.push_back(each.entry.port);
    }
    return ports;
}

} // namespace

TEST(Columns, HaveATextForEach)
{
    EXPECT_EQ(text(Column::Port), "3000");
    EXPECT_EQ(text(Column::Address), "127.0.0.1");
    EXPECT_EQ(text(Column::Exposed), "no");
    EXPECT_EQ(text(Column::Tier), "dev");
    EXPECT_EQ(text(Column::Pid), "4711");
    EXPECT_EQ(text(Column::User), "ada");
    EXPECT_EQ(text(Column::Process), "node");
    EXPECT_EQ(text(Column::Description), "Node.js");
    EXPECT_EQ(text(Column::Uptime), "1m");
    EXPECT_EQ(text(Column::Memory), "46 MB");
    EXPECT_EQ(text(Column::Command), "node ~/shop/server.js");
    EXPECT_EQ(text(Column::Path), "~/.nvm/versions/node/v20/bin/node");
    EXPECT_EQ(text(Column::Folder), "~/shop");
    EXPECT_EQ(text(Column::Unit), "shop.service");
    EXPECT_EQ(text(Column::Socket), "shop.socket");
    EXPECT_EQ(text(Column::Container), "3f2a9c1d5e6f");
    EXPECT_EQ(text(Column::Project), "shop");
    EXPECT_EQ(text(Column::Branch), "main");
    EXPECT_EQ(text(Column::Parent), "npm 4000");
}

TEST(Columns, NameAContainerByItsNameWhereItHasOne)
{
    Listener named = listener();
    named.details.container->name = "shop-db";
    EXPECT_EQ(Columns::text(Column::Container, named, {.now = {}, .home = {}}), "shop-db");
    named.details.forwarding = Forwarding{.container = {.id = "", .name = "web"}};
    EXPECT_EQ(Columns::text(Column::Container, named, {.now = {}, .home = {}}), "web");
}

TEST(Columns, AreReadFromTheirNames)
{
    EXPECT_EQ(Columns::listFrom("port"), std::vector{Column::Port});
    EXPECT_EQ(Columns::listFrom("command,project,exposed"),
              (std::vector{Column::Command, Column::Project, Column::Exposed}));
    for (const char *wrong : {"", "port,", ",port", "ports", "PORT", "port, pid", "port,port"}) {
        EXPECT_EQ(Columns::listFrom(wrong), std::nullopt) << wrong;
    }
}

TEST(Columns, AreReadAsAnOrder)
{
    EXPECT_EQ(Columns::orderFrom("-memory,port"),
              (std::vector{SortKey{Column::Memory, true}, SortKey{Column::Port, false}}));
    for (const char *wrong : {"", "-", "--port", "port,-", "size"}) {
        EXPECT_EQ(Columns::orderFrom(wrong), std::nullopt) << wrong;
    }
}

TEST(Columns, SortByNumbersAndTexts)
{
    std::vector<Listener> listeners =
        listenersFrom({record(80, 30, "c"), record(443, 200, "a"), record(8080, 100, "b")});
    listeners[0].details = at("10.0.0.1");
    listeners[1].details = at("::1");
    listeners[2].details = at("9.0.0.1");
    listeners[0].record.memoryBytes = listeners[0].entry.memoryBytes = 900;
    listeners[1].record.memoryBytes = listeners[1].entry.memoryBytes = 0;
    EXPECT_THAT(sorted(listeners, "pid"), ElementsAre(80, 8080, 443));
    EXPECT_THAT(sorted(listeners, "-pid"), ElementsAre(443, 8080, 80));
    EXPECT_THAT(sorted(listeners, "process"), ElementsAre(443, 8080, 80));
    EXPECT_THAT(sorted(listeners, "address"), ElementsAre(8080, 80, 443));
    EXPECT_THAT(sorted(listeners, "memory"), ElementsAre(80, 8080, 443)) << "the unknown last";
}

TEST(Columns, SortByTheNextWhereTheFirstIsEqualAndLeaveTheRest)
{
    const std::vector<Listener> listeners =
        listenersFrom({record(80, 1, "b"), record(81, 1, "a"), record(82, 1, "a")});
    EXPECT_THAT(sorted(listeners, "process"), ElementsAre(81, 82, 80));
    EXPECT_THAT(sorted(listeners, "-process"), ElementsAre(80, 81, 82));
    EXPECT_THAT(sorted(listeners, "process,-port"), ElementsAre(82, 81, 80));
}

TEST(Columns, SortTheLatestStartFirst)
{
    RawPortInfo earlier = record(80, 1, "a");
    earlier.processStartedAt -= std::chrono::minutes(5);
    EXPECT_THAT(sorted(listenersFrom({earlier, record(81, 2, "b")}), "uptime"),
                ElementsAre(81, 80));
}

} // namespace Tarnwick
