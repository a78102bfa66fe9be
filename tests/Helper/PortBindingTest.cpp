// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortBinding.h"

#include "tests/Support/LocalSocket.h"

#include <gtest/gtest.h>

#include <array>

namespace Tarnwick {

namespace {

using Outcome = PortBinding::Outcome;
using Reuse = PortBinding::ReuseAddress;

constexpr std::array loopback{ListenAddress{.bytes = {127, 0, 0, 1}}};
constexpr std::array otherLoopback{ListenAddress{.bytes = {127, 0, 0, 2}}};

} // namespace

TEST(PortBinding, IsPossibleWhereNothingIsBound)
{
    const FileDescriptor socket = LocalSocket::bound(0, LocalSocket::Reuse::No);
    const std::uint16_t port = LocalSocket::port(socket);
    EXPECT_EQ(PortBinding::attempt(port, loopback), Outcome::InUse);
    EXPECT_EQ(PortBinding::attempt(port, otherLoopback), Outcome::Possible);
    EXPECT_EQ(PortBinding::attempt(port, PortBinding::everyAddress()), Outcome::InUse);
}

TEST(PortBinding, LeavesThePortAsItWas)
{
    const FileDescriptor reserved = LocalSocket::bound();
    const std::uint16_t port = LocalSocket::port(reserved);
    EXPECT_EQ(PortBinding::attempt(port, loopback), Outcome::Possible);
    EXPECT_EQ(PortBinding::attempt(port, loopback), Outcome::Possible);
}

TEST(PortBinding, IsInUseWhileSomethingListens)
{
    const FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    EXPECT_EQ(PortBinding::attempt(LocalSocket::port(server), loopback), Outcome::InUse);
}

TEST(PortBinding, FindsAListenerOfTheOtherFamily)
{
    const FileDescriptor server = LocalSocket::boundV6(LocalSocket::V6::AnyWithIPv4);
    LocalSocket::listen(server);
    EXPECT_EQ(PortBinding::attempt(LocalSocket::port(server), loopback), Outcome::InUse);
}

TEST(PortBinding, IsPossibleBesideClosedConnectionsWithReuseAlone)
{
    FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    const std::uint16_t port = LocalSocket::port(server);
    LocalSocket::Connection connection = LocalSocket::connection(server);
    server.reset();
    connection.server.reset();
    connection.client.reset();
    EXPECT_EQ(PortBinding::attempt(port, loopback, Reuse::Yes), Outcome::Possible);
    EXPECT_EQ(PortBinding::attempt(port, loopback, Reuse::No), Outcome::InUse);
}

TEST(PortBinding, PassesOverAddressesOfOtherMachines)
{
    const FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    // TEST-NET-1 of RFC 5737.
    const std::array away{ListenAddress{.bytes = {192, 0, 2, 1}}};
    EXPECT_EQ(PortBinding::attempt(LocalSocket::port(server), away), Outcome::Possible);
}

} // namespace Tarnwick
