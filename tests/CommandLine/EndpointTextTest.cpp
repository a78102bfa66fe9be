// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/EndpointText.h"

#include <gtest/gtest.h>

#include <ostream>

namespace Tarnwick {

namespace {

constexpr ListenAddress loopback{.bytes = {127, 0, 0, 1}};
constexpr ListenAddress anyV4{};
constexpr ListenAddress anyV6{.family = ListenAddress::Family::IPv6, .isV6Only = true};
constexpr ListenAddress anyBoth{.family = ListenAddress::Family::IPv6};
constexpr ListenAddress loopbackV6{.family = ListenAddress::Family::IPv6,
                                   .bytes = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
constexpr ListenAddress otherLoopback{.bytes = {127, 0, 0, 2}};
constexpr ListenAddress lan{.bytes = {192, 168, 1, 7}};
constexpr ListenAddress lanV6{.family = ListenAddress::Family::IPv6, .bytes = {0xFD, 0, 0, 1}};

struct Sample
{
    ListenAddress address;
    const char *text;
    const char *url;
};

void PrintTo(const Sample &sample, std::ostream *stream)
{
    *stream << sample.text;
}

struct EndpointTextTest : testing::TestWithParam<Sample>
{
};

} // namespace

TEST_P(EndpointTextTest, NamesAddressAndUrl)
{
    EXPECT_EQ(EndpointText::address(GetParam().address, 3000), GetParam().text);
    EXPECT_EQ(EndpointText::url(GetParam().address, 3000), GetParam().url);
}

INSTANTIATE_TEST_SUITE_P(
    OfAddresses, EndpointTextTest,
    testing::Values(Sample{loopback, "127.0.0.1:3000", "http://localhost:3000"},
                    Sample{anyV4, "0.0.0.0:3000", "http://localhost:3000"},
                    Sample{anyV6, "[::]:3000", "http://localhost:3000"},
                    Sample{anyBoth, "*:3000", "http://localhost:3000"},
                    Sample{loopbackV6, "[::1]:3000", "http://localhost:3000"},
                    Sample{otherLoopback, "127.0.0.2:3000", "http://127.0.0.2:3000"},
                    Sample{lan, "192.168.1.7:3000", "http://192.168.1.7:3000"},
                    Sample{lanV6, "[fd00:1::]:3000", "http://[fd00:1::]:3000"}));

TEST(EndpointText, SpeaksTlsOnItsPortsOnly)
{
    EXPECT_EQ(EndpointText::url(loopback, 443), "https://localhost:443");
    EXPECT_EQ(EndpointText::url(lan, 8443), "https://192.168.1.7:8443");
    EXPECT_EQ(EndpointText::url(loopback, 80), "http://localhost:80");
    EXPECT_EQ(EndpointText::url(loopback, 4430), "http://localhost:4430");
}

} // namespace Tarnwick
