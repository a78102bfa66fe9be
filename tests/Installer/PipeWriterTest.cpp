// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PipeWriter.h"

#include "Shared/FileDescriptor.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using namespace std::chrono_literals;

class PipeWriterTest : public testing::Test
{
protected:
    PipeWriterTest()
    {
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        m_readEnd = FileDescriptor(ends[0]);
        m_writeEnd = FileDescriptor(ends[1]);
    }

    /// The errno of writing more than the pipe takes.
    [[nodiscard]] std::future<int> write(PipeWriter &writer) const
    {
        return std::async(std::launch::async, [&] { return writer.write(m_tooMuch) ? 0 : errno; });
    }

    const std::string m_tooMuch = std::string(8UL * 1024 * 1024, 'x');
    FileDescriptor m_readEnd;
    FileDescriptor m_writeEnd;
};

TEST_F(PipeWriterTest, WritesEverythingToAReaderThatReads)
{
    PipeWriter writer(m_writeEnd.get(), 1min);
    std::future<int> result = write(writer);
    std::string all;
    std::array<char, 64UL * 1024> buffer{};
    while (all.size() < m_tooMuch.size()) {
        const ssize_t count = ::read(m_readEnd.get(), buffer.data(), buffer.size());
        ASSERT_GT(count, 0);
        all.append(buffer.data(), static_cast<std::size_t>(count));
    }
    EXPECT_EQ(result.get(), 0);
    EXPECT_TRUE(all == m_tooMuch);
}

TEST_F(PipeWriterTest, WaitsForItsTimeoutOnly)
{
    PipeWriter writer(m_writeEnd.get(), 20ms);
    EXPECT_EQ(write(writer).get(), ETIMEDOUT);
}

TEST_F(PipeWriterTest, WaitsForAReaderThatMayStartAtAnyTime)
{
    PipeWriter writer(m_writeEnd.get(), 10ms, PipeWriter::Start::AnyTime);
    std::future<int> result = write(writer);
    EXPECT_EQ(result.wait_for(200ms), std::future_status::timeout);
    m_readEnd.reset();
    EXPECT_EQ(result.get(), EPIPE);
}

TEST_F(PipeWriterTest, WaitsForItsTimeoutOnceAReaderHasStarted)
{
    PipeWriter writer(m_writeEnd.get(), 20ms, PipeWriter::Start::AnyTime);
    std::future<int> result = write(writer);
    char byte = 0;
    ASSERT_EQ(::read(m_readEnd.get(), &byte, 1), 1);
    EXPECT_EQ(result.get(), ETIMEDOUT);
}

TEST_F(PipeWriterTest, KnowsWhetherAnythingWasRead)
{
    PipeWriter writer(m_writeEnd.get(), 1min);
    EXPECT_FALSE(writer.isReadFrom());
    ASSERT_TRUE(writer.write("ab"));
    EXPECT_FALSE(writer.isReadFrom());
    char byte = 0;
    ASSERT_EQ(::read(m_readEnd.get(), &byte, 1), 1);
    EXPECT_TRUE(writer.isReadFrom());
}

} // namespace
} // namespace Tarnwick
