// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/PolledSockets.h"

#include "Helper/linux/ProcFs.h"
#include "Shared/FileDescriptor.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

/// What this process waits for. It has no epoll instances but those of a test.
class PolledSocketsTest : public testing::Test
{
protected:
    static FileDescriptor makeEpoll() { return FileDescriptor(::epoll_create1(EPOLL_CLOEXEC)); }

    static FileDescriptor makeSocket()
    {
        return FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    }

    static bool add(const FileDescriptor &epoll, int file)
    {
        epoll_event event = {.events = EPOLLIN, .data = {.fd = file}};
        return ::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, file, &event) == 0;
    }

    [[nodiscard]] bool isPolled(const FileDescriptor &socket) const
    {
        struct stat status = {};
        ::fstat(socket.get(), &status);
        return PolledSockets::contain(m_root.get(), ::getpid(),
                                      static_cast<std::uint32_t>(status.st_ino));
    }

private:
    FileDescriptor m_root = ProcFs::openRoot();
};

TEST_F(PolledSocketsTest, AreThoseOfTheEpollInstance)
{
    const FileDescriptor waited = makeSocket();
    const FileDescriptor held = makeSocket();
    EXPECT_FALSE(isPolled(waited));
    const FileDescriptor epoll = makeEpoll();
    ASSERT_TRUE(add(epoll, waited.get()));
    EXPECT_TRUE(isPolled(waited));
    EXPECT_FALSE(isPolled(held));
}

TEST_F(PolledSocketsTest, AreNotThoseOfAnInstanceThatCameLater)
{
    const FileDescriptor socket = makeSocket();
    const FileDescriptor own = makeEpoll();
    const FileDescriptor passed = makeEpoll();
    ASSERT_TRUE(add(passed, socket.get()));
    EXPECT_FALSE(isPolled(socket));
    ASSERT_TRUE(add(own, socket.get()));
    EXPECT_TRUE(isPolled(socket));
}

TEST_F(PolledSocketsTest, AreKnownByTheirInodeAndNotByTheirNumber)
{
    const FileDescriptor socket = makeSocket();
    const FileDescriptor epoll = makeEpoll();
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor number(ends[0]);
    const FileDescriptor writeEnd(ends[1]);
    ASSERT_TRUE(add(epoll, number.get()));
    // The pipe stays in the instance under the number that is the socket's from now on.
    const FileDescriptor pipe(::dup(number.get()));
    ASSERT_EQ(::dup2(socket.get(), number.get()), number.get());
    EXPECT_FALSE(isPolled(socket));
}

} // namespace
} // namespace Tarnwick
