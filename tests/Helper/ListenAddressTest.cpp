// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenAddress.h"

#include <gtest/gtest.h>

#include <string>

#include <arpa/inet.h>

namespace Tarnwick {
namespace {

ListenAddress address(const std::string &text)
{
    ListenAddress address;
    const bool isV6 = text.find(':') != std::string::npos;
    address.family = isV6 ? ListenAddress::Family::IPv6 : ListenAddress::Family::IPv4;
    EXPECT_EQ(inet_pton(isV6 ? AF_INET6 : AF_INET, text.c_str(), address.bytes.data()), 1) << text;
    return address;
}

TEST(ListenAddress, IsWrittenAsUsual)
{
    for (const char *text : {"0.0.0.0", "127.0.0.1", "192.168.1.20", "::", "::1", "fe80::1",
                             "2001:db8::8:800:200c:417a", "::ffff:127.0.0.1"}) {
        EXPECT_EQ(address(text).text(), text);
    }
}

TEST(ListenAddress, IsOnlyOfThisMachineWhereItIsALoopbackAddress)
{
    for (const char *text : {"127.0.0.1", "127.255.255.254", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_TRUE(address(text).isLoopback()) << text;
    }
    for (const char *text : {"0.0.0.0", "128.0.0.1", "10.127.0.1", "::", "::2", "1::1",
                             "::ffff:10.0.0.1", "7f00::1"}) {
        EXPECT_FALSE(address(text).isLoopback()) << text;
    }
}

TEST(ListenAddress, StandsForAllWhereItIsZero)
{
    EXPECT_TRUE(address("0.0.0.0").isAny());
    EXPECT_TRUE(address("::").isAny());
    EXPECT_FALSE(address("127.0.0.1").isAny());
    EXPECT_FALSE(address("::1").isAny());
    EXPECT_FALSE(address("::ffff:0.0.0.0").isAny());
}

} // namespace
TEST(ListenAddress, IsThatOfIPv4WhereItIsAMappedOne)
{
    ListenAddress mapped{.family = ListenAddress::Family::IPv6};
    mapped.bytes = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 192, 0, 2, 7};
    EXPECT_EQ(mapped.unmapped().family, ListenAddress::Family::IPv4);
    EXPECT_EQ(mapped.unmapped().text(), "192.0.2.7");
    ListenAddress any{.family = ListenAddress::Family::IPv6};
    EXPECT_EQ(any.unmapped(), any);
    ListenAddress loopback{.family = ListenAddress::Family::IPv4};
    loopback.bytes = {127, 0, 0, 1};
    EXPECT_EQ(loopback.unmapped(), loopback);
}

} // namespace Tarnwick
