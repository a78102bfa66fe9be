// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorOutput.h"

#include "Shared/FileDescriptor.h"
#include "tests/CommandLine/PseudoTerminal.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    Pipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        readEnd = FileDescriptor(ends[0]);
        writeEnd = FileDescriptor(ends[1]);
    }

    [[nodiscard]] std::string readAll() const
    {
        std::string text;
        std::array<char, 4096> part{};
        ssize_t count = 0;
        while ((count = read(readEnd.get(), part.data(), part.size())) > 0) {
            text.append(part.data(), static_cast<std::size_t>(count));
        }
        return text;
    }
};

/// More than a pipe holds.
const std::string longText(1'000'000, 'x');

} // namespace

TEST(DescriptorOutput, WritesMoreThanAPipeHolds)
{
    Pipe pipe;
    std::string read;
    std::thread reader([&] { read = pipe.readAll(); });
    DescriptorOutput output(pipe.writeEnd.get());
    EXPECT_FALSE(output.write(longText));
    pipe.writeEnd.reset();
    reader.join();
    EXPECT_EQ(read, longText);
}

TEST(DescriptorOutput, WritesAllToANonBlockingPipe)
{
    Pipe pipe;
    fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK);
    std::string read;
    std::thread reader([&] { read = pipe.readAll(); });
    DescriptorOutput output(pipe.writeEnd.get());
    EXPECT_FALSE(output.write(longText));
    pipe.writeEnd.reset();
    reader.join();
    EXPECT_EQ(read, longText);
}

TEST(DescriptorOutput, GivesUpOnAReaderThatDoesNotReadWhenInterrupted)
{
    Pipe pipe;
    const Pipe interrupter;
    ASSERT_EQ(write(interrupter.writeEnd.get(), "!", 1), 1);
    DescriptorOutput output(pipe.writeEnd.get());
    output.giveUpWhenReadable(interrupter.readEnd.get());
    EXPECT_EQ(output.write(longText), std::errc::interrupted);
}

TEST(DescriptorOutput, WritesWhatTheReaderTakesAlthoughInterrupted)
{
    Pipe pipe;
    const Pipe interrupter;
    ASSERT_EQ(write(interrupter.writeEnd.get(), "!", 1), 1);
    DescriptorOutput output(pipe.writeEnd.get());
    output.giveUpWhenReadable(interrupter.readEnd.get());
    EXPECT_FALSE(output.write("short"));
    pipe.writeEnd.reset();
    EXPECT_EQ(pipe.readAll(), "short");
}

TEST(DescriptorOutput, TellsOfABrokenPipe)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    Pipe pipe;
    pipe.readEnd.reset();
    EXPECT_EQ(DescriptorOutput(pipe.writeEnd.get()).write("text"), std::errc::broken_pipe);
}

TEST(DescriptorOutput, TellsOfAFullDisk)
{
    const FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(full);
    EXPECT_EQ(DescriptorOutput(full.get()).write("text"), std::errc::no_space_on_device);
}

TEST(DescriptorOutput, WritesNothingForAnEmptyText)
{
    EXPECT_FALSE(DescriptorOutput(-1).write(""));
}

TEST(DescriptorOutput, KnowsThatAPipeIsNoTerminal)
{
    const Pipe pipe;
    EXPECT_FALSE(DescriptorOutput(pipe.writeEnd.get()).terminal().isTerminal);
}

TEST(DescriptorOutput, FollowsTheSizeOfTheTerminal)
{
    const PseudoTerminal terminal(120, 40);
    const DescriptorOutput output(terminal.program.get());
    EXPECT_EQ(output.terminal(), (TerminalShape{.isTerminal = true, .columns = 120, .rows = 40}));
    terminal.resize(66, 10);
    EXPECT_EQ(output.terminal(), (TerminalShape{.isTerminal = true, .columns = 66, .rows = 10}));
}

TEST(DescriptorOutput, TakesTheWidthFromTheEnvironmentWhenTheTerminalDoesNotKnowIt)
{
    const PseudoTerminal terminal(0, 0);
    const DescriptorOutput output(terminal.program.get());
    ASSERT_EQ(setenv("COLUMNS", "132", 1), 0);
    EXPECT_EQ(output.terminal(), (TerminalShape{.isTerminal = true, .columns = 132, .rows = 24}));
    ASSERT_EQ(setenv("COLUMNS", "wide", 1), 0);
    EXPECT_EQ(output.terminal().columns, 80U);
    ASSERT_EQ(unsetenv("COLUMNS"), 0);
    EXPECT_EQ(output.terminal().columns, 80U);
}

} // namespace Tarnwick
