// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/AddressText.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

namespace Tarnwick {

namespace {

using testing::ElementsAre;

/// A server with sockets at these addresses, in that order.
Listener serverAt(std::initializer_list<ListenerDetails> sockets)
{
    Listener listener{.record = {}, .entry = {}};
    listener.details = *sockets.begin();
    listener.otherSockets.assign(sockets.begin() + 1, sockets.end());
    return listener;
}

std::string text(std::initializer_list<ListenerDetails> sockets)
{
    return AddressText::of(serverAt(sockets));
}

ListenerDetails onInterface(ListenerDetails details, const char *name)
{
    details.interface = name;
    return details;
}

} // namespace

TEST(AddressText, IsTheAddressOfOneSocket)
{
    EXPECT_EQ(text({at("127.0.0.1")}), "127.0.0.1");
    EXPECT_EQ(text({at("::1")}), "::1");
    EXPECT_EQ(text({at("0.0.0.0")}), "0.0.0.0");
    EXPECT_EQ(text({at("::ffff:192.0.2.7")}), "192.0.2.7");
}

TEST(AddressText, TellsOneFamilyFromBoth)
{
    EXPECT_EQ(text({at("::")}), "*");
    EXPECT_EQ(text({onlyIPv6(at("::"))}), "::");
    EXPECT_EQ(text({at("0.0.0.0"), onlyIPv6(at("::"))}), "*");
    EXPECT_EQ(text({onlyIPv6(at("::")), at("0.0.0.0")}), "*");
    EXPECT_EQ(text({at("0.0.0.0"), at("::1")}), "0.0.0.0, ::1");
}

TEST(AddressText, HasIPv4First)
{
    EXPECT_EQ(text({at("::1"), at("127.0.0.1")}), "127.0.0.1, ::1");
}

TEST(AddressText, NamesTheInterface)
{
    EXPECT_EQ(text({onInterface(at("0.0.0.0"), "eth0")}), "0.0.0.0%eth0");
    EXPECT_EQ(text({onInterface(at("0.0.0.0"), "eth0"), onlyIPv6(at("::"))}), "::, 0.0.0.0%eth0");
}

TEST(AddressText, CountsTheAddressesBehindTheFirstOfMany)
{
    EXPECT_EQ(text({at("192.0.2.3"), at("192.0.2.1"), at("2001:db8::1"), at("192.0.2.2")}),
              "192.0.2.1 +3");
}

TEST(AddressText, NamesAnAddressOfSeveralSocketsOnce)
{
    EXPECT_EQ(text({at("127.0.0.1"), at("127.0.0.1"), at("127.0.0.1")}), "127.0.0.1");
    EXPECT_THAT(AddressText::all(serverAt({at("::1"), at("127.0.0.1"), at("::1")})),
                ElementsAre("127.0.0.1", "::1"));
}

} // namespace Tarnwick
