// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerMonitor.h"

#include "Shared/FileDescriptor.h"
#include "tests/Support/OwnNetwork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace Tarnwick {
namespace {

using namespace std::chrono_literals;

/// A listening socket of this process at a loopback address, at any port.
FileDescriptor listener(int family = AF_INET)
{
    FileDescriptor own(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::listen(own.get(), 1), 0);
    return own;
}

sockaddr_in addressOf(const FileDescriptor &socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    EXPECT_EQ(::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size), 0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Whether the monitor reports a change within ten seconds.
bool reportsChange(ListenerMonitor &monitor)
{
    const auto deadline = ListenerMonitor::Clock::now() + 10s;
    while (ListenerMonitor::Clock::now() < deadline) {
        if (monitor.hasChanged()) {
            return true;
        }
        std::this_thread::sleep_until(std::min(deadline, monitor.nextCheck()));
    }
    return false;
}

/// Each test is a thread in a network of its own, where nothing listens but its sockets.
struct ListenerMonitorTest : testing::Test
{
    static void alone(const std::function<void()> &test)
    {
        bool isAlone = false;
        std::thread([&] {
            isAlone = enterOwnNetwork();
            if (isAlone) {
                test();
            }
        }).join();
        if (!isAlone) {
            GTEST_SKIP() << "this user may not have a network of its own";
        }
    }

    /// Dumps that nothing indicates are made once, so that a test sees what indicates the others.
    static ListenerMonitor::Options seldom(std::chrono::milliseconds interval)
    {
        return {.interval = interval, .restShare = 1'000'000'000, .indicatedShare = 1};
    }
};

TEST_F(ListenerMonitorTest, ReportsASocketThatBeginsToListen)
{
    alone([] {
        for (const int family : {AF_INET, AF_INET6}) {
            ListenerMonitor monitor(seldom(1ms));
            EXPECT_FALSE(monitor.hasChanged());
            const FileDescriptor own = listener(family);
            EXPECT_TRUE(reportsChange(monitor)) << family;
        }
    });
}

TEST_F(ListenerMonitorTest, ReportsASocketThatCeasesToListen)
{
    alone([] {
        for (const int family : {AF_INET, AF_INET6}) {
            FileDescriptor own = listener(family);
            ListenerMonitor monitor(seldom(1ms));
            EXPECT_FALSE(monitor.hasChanged());
            own.reset();
            EXPECT_TRUE(reportsChange(monitor)) << family;
        }
    });
}

TEST_F(ListenerMonitorTest, ReportsASocketThatAnotherOneReplaces)
{
    alone([] {
        FileDescriptor own = listener();
        ListenerMonitor monitor(seldom(1ms));
        EXPECT_FALSE(monitor.hasChanged());
        own = listener();
        EXPECT_TRUE(reportsChange(monitor));
    });
}

TEST_F(ListenerMonitorTest, IsWokenWhenASocketCeasesToListen)
{
    alone([] {
        FileDescriptor own = listener();
        ListenerMonitor monitor(seldom(1h));
        EXPECT_FALSE(monitor.hasChanged());
        EXPECT_GT(monitor.nextCheck(), ListenerMonitor::Clock::now() + 1min);
        ASSERT_GE(monitor.descriptor(), 0);
        own.reset();
        pollfd awaited{.fd = monitor.descriptor(), .events = POLLIN, .revents = 0};
        EXPECT_EQ(::poll(&awaited, 1, 10'000), 1);
        EXPECT_TRUE(monitor.hasChanged());
        awaited.fd = monitor.descriptor();
        EXPECT_EQ(::poll(&awaited, 1, 0), 0);
    });
}

TEST_F(ListenerMonitorTest, ReportsNoConnections)
{
    alone([] {
        const FileDescriptor server = listener();
        ListenerMonitor monitor(seldom(1ms));
        EXPECT_FALSE(monitor.hasChanged());
        const sockaddr_in address = addressOf(server);
        for (int count = 0; count < 20; ++count) {
            const FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
            EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr *>(&address),
                                sizeof(address)),
                      0);
            EXPECT_FALSE(monitor.hasChanged());
            const FileDescriptor accepted(::accept4(server.get(), nullptr, nullptr, SOCK_CLOEXEC));
            EXPECT_TRUE(accepted);
            EXPECT_FALSE(monitor.hasChanged());
        }
        pollfd awaited{.fd = monitor.descriptor(), .events = POLLIN, .revents = 0};
        EXPECT_EQ(::poll(&awaited, 1, 0), 0);
    });
}

TEST_F(ListenerMonitorTest, PutsOffDumpsThatAreIndicatedInVain)
{
    alone([] {
        const FileDescriptor server = listener();
        ListenerMonitor::Options options = seldom(1ms);
        options.indicatedShare = 1'000'000'000;
        ListenerMonitor monitor(options);
        EXPECT_FALSE(monitor.hasChanged());
        const sockaddr_in address = addressOf(server);
        const FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(
            ::connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
            0);
        EXPECT_FALSE(monitor.hasChanged());
        const FileDescriptor another = listener();
        EXPECT_FALSE(monitor.hasChanged()) << "not dumped again so soon";
    });
}

TEST_F(ListenerMonitorTest, FindsWhatNothingIndicates)
{
    alone([] {
        const FileDescriptor server = listener();
        const sockaddr_in address = addressOf(server);
        FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(
            ::connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
            0);
        ListenerMonitor monitor({.interval = 1ms, .restShare = 1, .indicatedShare = 1'000'000'000});
        EXPECT_FALSE(monitor.hasChanged());
        // Two listeners take the places of both ends of an aborted connection.
        const linger abort{.l_onoff = 1, .l_linger = 0};
        EXPECT_EQ(::setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &abort, sizeof(abort)), 0);
        client.reset();
        const FileDescriptor first = listener();
        const FileDescriptor second = listener();
        EXPECT_TRUE(reportsChange(monitor));
    });
}

} // namespace
} // namespace Tarnwick
