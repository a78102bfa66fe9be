// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/WriteAll.h"
#include "Shared/FileDescriptor.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace Tarnwick;

namespace {

struct Pipe
{
    Pipe()
    {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }
    FileDescriptor reading;
    FileDescriptor writing;
};

std::string readToEnd(int descriptor)
{
    std::string text;
    std::array<char, 1000> part{};
    ssize_t count = 0;
    while ((count = read(descriptor, part.data(), part.size())) > 0) {
        text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

TEST(WriteAll, WritesWhatAPipeTakesInPartsOnly)
{
    Pipe pipe;
    const std::string text(1'000'000, 'x');
    std::string received;
    std::thread reader([&pipe, &received] { received = readToEnd(pipe.reading.get()); });
    EXPECT_EQ(writeAll(pipe.writing.get(), text), text.size());
    pipe.writing.reset();
    reader.join();
    EXPECT_EQ(received, text);
}

TEST(WriteAvailable, WritesWhatAPipeTakesWithoutAReader)
{
    Pipe pipe;
    const std::string text(1'000'000, 'x');
    const std::size_t written = writeAvailable(pipe.writing.get(), text);
    EXPECT_GT(written, 0U);
    EXPECT_LT(written, text.size());
    EXPECT_EQ(writeAvailable(pipe.writing.get(), text), 0U);
    pipe.writing.reset();
    EXPECT_EQ(readToEnd(pipe.reading.get()).size(), written);
}

TEST(WriteAll, WritesNothingOfAnEmptyText)
{
    EXPECT_EQ(writeAll(-1, ""), 0U);
}

TEST(WriteAll, TellsAFailure)
{
    EXPECT_EQ(writeAll(-1, "text"), 0U);
    const FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(writeAll(full.get(), "text"), 0U);
}
