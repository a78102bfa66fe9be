// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/TcpSocketCount.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

TEST(TcpSocketCount, ReadsTheNumberBehindItsLabel)
{
    constexpr std::string_view text = "sockets: used 15\n"
                                      "TCP: inuse 42 orphan 0 tw 7 alloc 43 mem 0\n"
                                      "UDP: inuse 3 mem 0\n";
    EXPECT_EQ(TcpSocketCount::parse(text, "TCP: inuse "), 42U);
    EXPECT_EQ(TcpSocketCount::parse(text, "UDP: inuse "), 3U);
    EXPECT_EQ(TcpSocketCount::parse(text, "TCP6: inuse "), std::nullopt);
    EXPECT_EQ(TcpSocketCount::parse("TCP: inuse ", "TCP: inuse "), std::nullopt);
}

TEST(TcpSocketCount, ReadsTheFilesOfThisSystem)
{
    const TcpSocketCount count;
    EXPECT_TRUE(count.read().has_value());
    EXPECT_TRUE(count.read().has_value()) << "the second time";
}

} // namespace
} // namespace Tarnwick
