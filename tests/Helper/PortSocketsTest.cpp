// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortSockets.h"

#include "tests/Support/LocalSocket.h"
#include "tests/Support/Puppet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace Tarnwick {

namespace {

using State = PortSocket::State;
using Which = PortSockets::Which;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<PortSocket> socketsOn(std::uint16_t port, Which which = Which::All)
{
    PortSockets::Result found = PortSockets::on(port, which);
    if (const auto *error = std::get_if<ListingError>(&found)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<std::vector<PortSocket>>(std::move(found));
}

std::vector<State> statesOn(std::uint16_t port)
{
    std::vector<State> states;
    for (const PortSocket &socket : socketsOn(port)) {
        states.push_back(socket.state);
    }
    return states;
}

} // namespace

TEST(PortSockets, TellOfAListener)
{
    const FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    const std::uint16_t port = LocalSocket::port(server);
    const std::vector<PortSocket> found = socketsOn(port, Which::Listening);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().state, State::Listening);
    EXPECT_EQ(found.front().address.text(), "127.0.0.1");
    EXPECT_EQ(found.front().userId, ::geteuid());
    EXPECT_NE(found.front().inode, 0U);
}

TEST(PortSockets, TellOfBothFamilies)
{
    const FileDescriptor first = LocalSocket::bound();
    LocalSocket::listen(first);
    const std::uint16_t port = LocalSocket::port(first);
    const FileDescriptor second = LocalSocket::boundV6(LocalSocket::V6::Loopback, port);
    LocalSocket::listen(second);
    const std::vector<PortSocket> found = socketsOn(port, Which::Listening);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].address.text(), "127.0.0.1");
    EXPECT_EQ(found[1].address.text(), "::1");
    EXPECT_TRUE(found[1].address.isV6Only);
}

TEST(PortSockets, TellOfASocketThatIsBoundAlone)
{
    const FileDescriptor socket = LocalSocket::bound();
    const std::uint16_t port = LocalSocket::port(socket);
    EXPECT_THAT(socketsOn(port, Which::Listening), IsEmpty());
    const std::vector<State> states = statesOn(port);
    if (states.empty()) {
        GTEST_SKIP() << "the kernel does not list such sockets";
    }
    EXPECT_THAT(states, ElementsAre(State::Bound));
}

TEST(PortSockets, TellOfConnectionsThatOutliveTheirListener)
{
    FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    const std::uint16_t port = LocalSocket::port(server);
    LocalSocket::Connection connection = LocalSocket::connection(server);
    server.reset();
    const std::vector<PortSocket> found = socketsOn(port);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().state, State::Connected);
    EXPECT_EQ(found.front().peer.text(), "127.0.0.1");
    EXPECT_EQ(found.front().peerPort, LocalSocket::port(connection.client));

    // Who closes first keeps the pair of addresses.
    connection.server.reset();
    connection.client.reset();
    EXPECT_THAT(statesOn(port), ElementsAre(State::TimeWait));
    EXPECT_EQ(socketsOn(port).front().inode, 0U);
}

TEST(PortSockets, AreOfOnePortOnly)
{
    const FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    const FileDescriptor other = LocalSocket::bound();
    EXPECT_THAT(socketsOn(LocalSocket::port(other), Which::Listening), IsEmpty());
}

TEST(PortSockets, AreFoundInTheProcessesThatHoldThem)
{
    Puppet puppet;
    const Puppet::Listener listener = puppet.listen();
    const Puppet child = puppet.fork();
    const auto port = static_cast<std::uint16_t>(listener.port);
    const std::vector<PortSocket> found = socketsOn(port, Which::Listening);
    ASSERT_EQ(found.size(), 1U);
    const std::vector<std::int32_t> holders = PortSockets::holders(found.front().inode);
    EXPECT_THAT(holders, testing::UnorderedElementsAre(puppet.pid(), child.pid()));
    EXPECT_THAT(PortSockets::holders(0), IsEmpty());
}

} // namespace Tarnwick
