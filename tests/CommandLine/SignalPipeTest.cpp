// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SignalPipe.h"

#include <gtest/gtest.h>

#include <array>

#include <poll.h>

namespace Tarnwick {

namespace {

constexpr std::array signals{SIGUSR1, SIGUSR2};

bool isReadable(int descriptor)
{
    pollfd awaited{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&awaited, 1, 0) == 1;
}

} // namespace

TEST(SignalPipe, GivesSignalsInTheOrderTheyCame)
{
    const auto pipe = SignalPipe::open(signals);
    ASSERT_TRUE(pipe);
    EXPECT_FALSE(isReadable(pipe->descriptor()));
    ASSERT_EQ(raise(SIGUSR2), 0);
    ASSERT_EQ(raise(SIGUSR1), 0);
    EXPECT_TRUE(isReadable(pipe->descriptor()));
    EXPECT_EQ(pipe->take(), SIGUSR2);
    EXPECT_EQ(pipe->take(), SIGUSR1);
    EXPECT_EQ(pipe->take(), std::nullopt);
}

TEST(SignalPipe, GivesSignalsBackWhenItGoes)
{
    static volatile std::sig_atomic_t seen = 0;
    const auto before = std::signal(SIGUSR1, [](int) { seen = 1; });
    SignalPipe::open(signals).reset();
    ASSERT_EQ(raise(SIGUSR1), 0);
    EXPECT_EQ(seen, 1);
    static_cast<void>(std::signal(SIGUSR1, before));
}

TEST(SignalPipe, LeavesIgnoredSignalsIgnored)
{
    const auto before = std::signal(SIGUSR1, SIG_IGN);
    const auto pipe = SignalPipe::open(signals);
    ASSERT_TRUE(pipe);
    ASSERT_EQ(raise(SIGUSR1), 0);
    EXPECT_EQ(pipe->take(), std::nullopt);
    static_cast<void>(std::signal(SIGUSR1, before));
}

} // namespace Tarnwick
