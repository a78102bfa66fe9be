// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"
#include "Installer/CopySender.h"
#include "Installer/PipeReader.h"
#include "Shared/Subprocess.h"
#include "Shared/WriteAll.h"
#include "tests/Installer/InstallFixture.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// A pipe that takes nothing more, and lets who writes to it wait.
Pipe fullPipe()
{
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    const std::string page(4096, 'x');
    while (writeAll(pipe.writeEnd.get(), page) == page.size()) {
    }
    while (writeAll(pipe.writeEnd.get(), "x") == 1) {
    }
    EXPECT_EQ(::fcntl(pipe.writeEnd.get(), F_SETFL, 0), 0);
    return pipe;
}

/// What each half does while the other one neither reads, writes nor ends.
class SilentPeerTest : public InstallFixture
{
protected:
    SilentPeerTest()
    {
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        EXPECT_EQ(::mkfifo(m_fifo.c_str(), 0600), 0);
        m_held = FileDescriptor(::open(m_fifo.c_str(), O_RDWR | O_CLOEXEC));
        EXPECT_TRUE(m_held);
        write(m_source / "share" / "notes", std::string(1024UL * 1024UL, 'x'));
    }

    /// A command of the shell that ends with this test.
    [[nodiscard]] std::string hold() const { return "read line < '" + m_fifo.string() + "'\n"; }

    /// The failure of a sender in this process.
    [[nodiscard]] CopyProtocol::Failure send(std::chrono::milliseconds silence) const
    {
        const char *const usual = std::getenv("PATH");
        const ScopedEnvironment path("PATH", (m_folder.path() / "bin").string() + ":" +
                                                 (usual != nullptr ? usual : "/usr/bin:/bin"));
        CopySender sender({.source = m_source,
                           .applications = m_applications,
                           .program = "bin/tarnwick",
                           .installer = installProgram},
                          silence);
        return sender.send();
    }

    fs::path m_fifo = m_folder.path() / "fifo";
    FileDescriptor m_held; ///< the fifo, whose readers wait as long as it is open
};

TEST_F(SilentPeerTest, SenderLeavesTheRemovalOfAnOlderCopyToTheReceiver)
{
    haveOlderCopy();
    const fs::path ended = m_folder.path() / "ended";
    ASSERT_EQ(::mkfifo(ended.c_str(), 0600), 0);
    const FileDescriptor result(::open(ended.c_str(), O_RDWR | O_CLOEXEC));
    pkexec("\"$@\"; " + hold() + "echo whole > '" + ended.string() + "'\n");
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
    m_held.reset();
    EXPECT_EQ(PipeReader(result.get(), 1min).line(), "whole");
}

TEST_F(SilentPeerTest, SenderGivesUpAReceiverThatStopsReading)
{
    pkexec("head -c 1 > /dev/null; " + hold());
    EXPECT_EQ(send(200ms), "the other half reads nothing any more");
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(SilentPeerTest, SenderGivesUpAReceiverThatNeverReplies)
{
    pkexec("cat > /dev/null; true\n"); // whose output stays open
    EXPECT_EQ(send(3s), "the other half sent nothing for 3 s");
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(SilentPeerTest, ReceiverGivesUpASenderThatReadsNothing)
{
    const std::string text = "tarnwick-copy 1\n5 755 bin/tarnwick\nhellocomplete\n";
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor input(ends[0]);
    const FileDescriptor sender(ends[1]);
    ASSERT_EQ(writeAll(sender.get(), text), text.size());
    Pipe output = fullPipe();
    auto failure = std::async(std::launch::async, [&] {
        CopyReceiver receiver(m_applications, "copy", 20ms);
        return receiver.receive(input.get(), output.writeEnd.get());
    });
    EXPECT_EQ(failure.wait_for(1min), std::future_status::ready);
    output.readEnd.reset(); // ends a write that would wait
    EXPECT_EQ(failure.get(), "the other process cannot be written to: Connection timed out");
    EXPECT_TRUE(fs::is_empty(m_applications));
}

TEST_F(SilentPeerTest, ReceiverWaitsForNoReaderOfItsStandardError)
{
    haveOlderCopy();
    write(m_target / "mine", "dear\n"); // which standard error would get a line about
    const Pipe errors = fullPipe();
    std::optional<Subprocess> receiver =
        Subprocess::start({installProgram, "--receive", m_applications, m_target.filename()},
                          {.errors = errors.writeEnd.get()});
    ASSERT_TRUE(receiver);
    const std::string text = "tarnwick-copy 1\n5 755 bin/tarnwick\nhellocomplete\ncommit\n";
    ASSERT_EQ(writeAll(receiver->input().get(), text), text.size());
    const std::optional<Subprocess::End> end = receiver->awaitEnd(1min);
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->isSuccess());
}

} // namespace
} // namespace Tarnwick
