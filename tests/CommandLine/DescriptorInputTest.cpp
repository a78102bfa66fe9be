// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorInput.h"

#include "Shared/FileDescriptor.h"
#include "tests/CommandLine/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// A descriptor from which @p text can be read.
FileDescriptor readable(std::string_view text)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const FileDescriptor writeEnd(ends[1]);
    EXPECT_EQ(write(writeEnd.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return FileDescriptor(ends[0]);
}

} // namespace

TEST(DescriptorInput, GivesLineAfterLine)
{
    const FileDescriptor pipe = readable("yes\n\nno\n");
    DescriptorInput input(pipe.get());
    EXPECT_EQ(input.readLine(), "yes");
    EXPECT_EQ(input.readLine(), "");
    EXPECT_EQ(input.readLine(), "no");
    EXPECT_EQ(input.readLine(), std::nullopt);
}

TEST(DescriptorInput, GivesNoLineThatTheEndOfTheInputCutsOff)
{
    const FileDescriptor pipe = readable("no\ny");
    DescriptorInput input(pipe.get());
    EXPECT_EQ(input.readLine(), "no");
    EXPECT_EQ(input.readLine(), std::nullopt);
}

TEST(DescriptorInput, TakesACarriageReturnForTheEndOfALine)
{
    const FileDescriptor pipe = readable("yes\rno\r");
    DescriptorInput input(pipe.get());
    EXPECT_EQ(input.readLine(), "yes");
    EXPECT_EQ(input.readLine(), "no");
}

TEST(DescriptorInput, TakesTheKeysThatEndATerminalsInputForItsEnd)
{
    for (const char *typed : {"y\x03\n", "y\x04\n"}) {
        const FileDescriptor pipe = readable(typed);
        EXPECT_EQ(DescriptorInput(pipe.get()).readLine(), std::nullopt);
    }
}

TEST(DescriptorInput, DiscardsWhatATerminalHasReceived)
{
    const PseudoTerminal terminal(80, 24);
    DescriptorInput input(terminal.program.get());
    ASSERT_EQ(write(terminal.user.get(), "y\n", 2), 2);
    pollfd received{.fd = terminal.program.get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(poll(&received, 1, 10'000), 1);
    EXPECT_EQ(input.discardPending(), std::error_code());
    ASSERT_EQ(write(terminal.user.get(), "n\n", 2), 2);
    EXPECT_EQ(input.readLine(), "n");
}

TEST(DescriptorInput, CannotDiscardFromAPipe)
{
    const FileDescriptor pipe = readable("y\n");
    EXPECT_EQ(DescriptorInput(pipe.get()).discardPending(),
              std::errc::inappropriate_io_control_operation);
}

TEST(DescriptorInput, GivesNothingWhenItCannotBeRead)
{
    DescriptorInput input(-1);
    EXPECT_EQ(input.readLine(), std::nullopt);
}

TEST(DescriptorInput, KnowsThatAPipeIsNoTerminal)
{
    const FileDescriptor pipe = readable("");
    EXPECT_FALSE(DescriptorInput(pipe.get()).isTerminal());
}

} // namespace Tarnwick
