// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WhyCommand.h"

#include "tests/CommandLine/CommandFixture.h"
#include "tests/CommandLine/ServerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace Tarnwick {

namespace {

using Outcome = PortBinding::Outcome;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Shell 100, in which a person has typed "npm" (150), which runs the server (200).
struct WhyCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;
    NotedEnds ends;
    PreparedPorts ports;
    PreparedProcesses processes;

    WhyCommandTest()
    {
        test.console.environment.userId = PreparedProcesses::user;
        processes.add(150, 100, "npm");
        processes.add(200, 150, "node");
        listings.listings = {std::vector{record(3000, 200, "node")}};
        listings.detail = [](const RawPortInfo &) {
            return ListenerDetails{.address = {.bytes = {127, 0, 0, 1}}, .user = "ada"};
        };
    }

    ExitCode run(bool json = false)
    {
        return WhyCommand({.port = 3000, .json = json}, test.console,
                          {listings, ends, ports, processes})
            .run();
    }

    const std::string &output()
    {
        EXPECT_EQ(run(), ExitCode::Done);
        return test.output.written;
    }
};

} // namespace

TEST_F(WhyCommandTest, TellsAllOfOneOwner)
{
    EXPECT_EQ(output(), "Port 3000: node (pid 200), tier dev, Node.js\n"
                        "  Listens    127.0.0.1:3000, IPv4, this machine only, of user ada\n"
                        "  URL        http://localhost:3000\n"
                        "  Command    node ~/shop/server.js\n"
                        "  Executable ~/.nvm/versions/node/v20/bin/node\n"
                        "  Folder     ~/shop\n"
                        "  Started    1m ago, 1970-02-11T15:59:00Z\n"
                        "  Memory     46 MB\n"
                        "  Tier       dev, by built-in: executable **/.nvm/**\n"
                        "  Started by run 150 (pid 150)\n"
                        "             run 100 (pid 100)\n"
                        "             run 1 (pid 1)\n"
                        "  To stop it tarnwickctl kill 3000\n"
                        "             tarnwickctl free 3000, with all of npm, node\n"
                        "  Restart    only npm (pid 150) might start it again\n");
}

TEST_F(WhyCommandTest, TellsEachSocketOfAnOwner)
{
    listings.listings = {std::vector{record(3000, 200, "node"), record(3000, 200, "node")}};
    listings.detail = [number = 0](const RawPortInfo &) mutable {
        ListenerDetails details{.address = {.family = ListenAddress::Family::IPv6}};
        details.address.isV6Only = ++number > 1;
        details.interface = number > 1 ? "eth0" : "";
        return details;
    };
    EXPECT_THAT(output(),
                HasSubstr("  Listens    *:3000, IPv4 and IPv6, exposed to the network\n"
                          "             [::]:3000, IPv6, exposed to the network, on eth0\n"));
}

TEST_F(WhyCommandTest, TellsEachOwner)
{
    processes.add(300, 100, "python3");
    listings.listings = {std::vector{record(3000, 200, "node"), record(3000, 300, "python3")}};
    EXPECT_THAT(output(), AllOf(HasSubstr("Port 3000: node (pid 200)"),
                                HasSubstr("\n\nPort 3000: python3 (pid 300)"),
                                HasSubstr("tarnwickctl kill --pid 200\n"),
                                HasSubstr("tarnwickctl kill --pid 300\n"),
                                HasSubstr("Restart    nothing that is known starts it again\n")));
}

TEST_F(WhyCommandTest, TellsWhatTakesMoreThanAKill)
{
    processes.supervisors[200] = {.kind = Supervisor::Kind::UserUnit,
                                  .name = "shop.service",
                                  .stopCommand = "systemctl --user stop shop.service"};
    EXPECT_THAT(output(),
                AllOf(HasSubstr("To stop it node (pid 200) is run by shop.service; 'systemctl "
                                "--user stop shop.service' stops it.\n"),
                      HasSubstr("Restart    shop.service starts it again; 'systemctl --user stop "
                                "shop.service' stops that\n"),
                      Not(HasSubstr("tarnwickctl kill"))));
}

TEST_F(WhyCommandTest, TellsWhichPrivilegeIsNeeded)
{
    processes.at(200).userId = 33;
    listings.listings = {std::vector{systemRecord(3000, 200, "sshd")}};
    EXPECT_THAT(output(), HasSubstr("To stop it sudo tarnwickctl kill 3000 --system\n"));
}

TEST_F(WhyCommandTest, TellsUnitContainerAndForwarding)
{
    listings.detail = [](const RawPortInfo &) {
        return ListenerDetails{.unit = "shop.service",
                               .isUserUnit = true,
                               .socketUnit = "shop.socket",
                               .container = Container{.id = "3f2a9c1d", .runtime = "podman"}};
    };
    EXPECT_THAT(
        output(),
        AllOf(HasSubstr("Unit       shop.service, of the user's service manager\n"),
              HasSubstr("Socket     shop.socket\n"), HasSubstr("Container  3f2a9c1d, of podman\n"),
              HasSubstr("Restart    the next connection to shop.socket starts it again\n")));
}

TEST_F(WhyCommandTest, TellsWhatIsKnownOfAnUnknownOwner)
{
    listings.listings = {std::vector{record(3000, 0, "cups.service", "")}};
    EXPECT_THAT(output(), AllOf(HasSubstr("Port 3000: cups.service (unknown owner)"),
                                HasSubstr("To stop it sudo systemctl stop cups.service\n"),
                                Not(HasSubstr("Started"))));
}

TEST_F(WhyCommandTest, TellsThatNothingListens)
{
    listings.listings = {std::vector<RawPortInfo>{}};
    EXPECT_EQ(run(), ExitCode::NothingDone);
    EXPECT_EQ(test.errors.written, "Nothing listens on port 3000.\n");
    EXPECT_EQ(test.output.written, "");
}

TEST_F(WhyCommandTest, TellsWhatElseHoldsThePort)
{
    listings.listings = {std::vector<RawPortInfo>{}};
    PortSocket bound = listeningSocket();
    bound.state = PortSocket::State::Bound;
    PortSocket connection = listeningSocket();
    connection.state = PortSocket::State::Connected;
    connection.inode = 78;
    connection.peer.bytes = {10, 0, 0, 1};
    connection.peerPort = 443;
    PortSocket closed = listeningSocket();
    closed.state = PortSocket::State::TimeWait;
    ports.states[3000] = {{bound, connection, closed, closed}};
    ports.processes[77] = {150, 200};
    ports.outcomes = {Outcome::InUse};
    EXPECT_EQ(run(), ExitCode::NothingDone);
    EXPECT_EQ(test.output.written,
              "bound to 127.0.0.1:3000, not listening, held by npm (pid 150), node (pid 200)\n"
              "connection from 127.0.0.1:3000 to 10.0.0.1:443, held by no process that can be "
              "seen\n"
              "2 closed connections, kept for up to 60 s (TIME_WAIT)\n"
              "Port 3000 cannot be bound yet; 'tarnwickctl wait --free 3000' waits until it "
              "can.\n");
    test.output.written.clear();
    EXPECT_EQ(run(true), ExitCode::NothingDone);
    EXPECT_THAT(test.output.written,
                testing::StartsWith(R"({"port":3000,"owners":[],"blockers":[{"text":"bound to)"));
}

TEST_F(WhyCommandTest, TellsWhereSomeServersCanBindThePort)
{
    listings.listings = {std::vector<RawPortInfo>{}};
    ports.outcomes = {Outcome::InUse, Outcome::Possible};
    EXPECT_EQ(run(), ExitCode::NothingDone);
    EXPECT_THAT(test.output.written,
                HasSubstr("Port 3000 can be bound by a server that sets SO_REUSEADDR"));
}

TEST_F(WhyCommandTest, WritesJson)
{
    EXPECT_EQ(run(true), ExitCode::Done);
    EXPECT_THAT(
        test.output.written,
        AllOf(testing::StartsWith(R"({"port":3000,"owners":[{"pid":200,"port":3000,)"),
              HasSubstr(R"("tier":"dev","description":"Node.js","tierRule":"by built-in: )"),
              HasSubstr(R"("sockets":[{"address":"127.0.0.1","family":"IPv4","user":"ada",)"),
              HasSubstr(R"("exposed":false}])"),
              HasSubstr(R"("ancestors":[{"pid":150,"name":"npm","command":"run 150"},)"),
              HasSubstr(R"("stop":["tarnwickctl kill 3000","tarnwickctl free 3000, with all)"),
              testing::EndsWith("\"url\":\"http://localhost:3000\"}],\"blockers\":[]}\n")));
}

TEST_F(WhyCommandTest, ShowsHostileTextsHarmlessly)
{
    processes.at(150).name = "n\x1b[2J";
    RawPortInfo hostile = record(3000, 200, "a\x1b]0;t\x07");
    hostile.cwd = "/tmp/\u202E";
    listings.listings = {std::vector{hostile}};
    EXPECT_THAT(output(), AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\u202E"))));
    test.output.written.clear();
    EXPECT_EQ(run(true), ExitCode::Done);
    EXPECT_THAT(test.output.written, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\u202E"))));
}

TEST_F(WhyCommandTest, FailsWhenNothingCanBeListed)
{
    listings.listings = {ListingError{ENOMEM, "no memory"}};
    EXPECT_EQ(run(), ExitCode::Failed);
}

} // namespace Tarnwick
