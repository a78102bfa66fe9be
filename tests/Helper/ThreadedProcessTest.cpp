// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"
#include "tests/Helper/InventoryFixture.h"

#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

/// A process of the test's own with two threads, in which PID/fd does not tell everything.
class ThreadedServer
{
public:
    enum class Kind {
        WithoutMainThread,  ///< only the second thread goes on
        WithOwnDescriptors, ///< the second thread shares none with the main thread, and listens
    };

    explicit ThreadedServer(Kind kind)
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe to be had");
        }
        const FileDescriptor readEnd(ends[0]);
        m_pid = ::fork();
        if (m_pid == 0) {
            live(kind, ends[1]);
        }
        ::close(ends[1]);
        if (::read(readEnd.get(), &m_port, sizeof(m_port)) != sizeof(m_port)) {
            throw std::runtime_error("the server did not listen");
        }
    }
    ~ThreadedServer()
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    ThreadedServer(const ThreadedServer &) = delete;
    ThreadedServer &operator=(const ThreadedServer &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    [[nodiscard]] int port() const { return m_port; }

    /// Waits until the main thread has ended; false when it does not.
    [[nodiscard]] bool awaitEndOfMainThread() const
    {
        for (int attempt = 0; attempt < 5000; ++attempt) {
            std::ifstream file("/proc/" + std::to_string(m_pid) + "/stat");
            std::ostringstream text;
            text << file.rdbuf();
            if (text.str().find(") Z ") != std::string::npos) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

private:
    static int listenOnAnyPort(int channel)
    {
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        ::listen(listener, 4);
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
        const int port = ntohs(address.sin_port);
        return ::write(channel, &port, sizeof(port)) == sizeof(port) ? listener : -1;
    }

    [[noreturn]] static void live(Kind kind, int channel)
    {
        const auto sleep = [] {
            for (;;) {
                ::pause();
            }
        };
        if (kind == Kind::WithOwnDescriptors) {
            std::thread([channel, sleep] {
                ::unshare(CLONE_FILES);
                listenOnAnyPort(channel);
                sleep();
            }).detach();
            sleep();
        }
        std::thread(sleep).detach();
        listenOnAnyPort(channel);
        ::syscall(SYS_exit, 0);
        ::_exit(1);
    }

    pid_t m_pid = -1;
    int m_port = 0;
};

using ThreadedProcessTest = InventoryFixture;
using Kind = ThreadedServer::Kind;

TEST_F(ThreadedProcessTest, OwnsItsSocketsWithoutItsMainThread)
{
    const ThreadedServer server(Kind::WithoutMainThread);
    ASSERT_TRUE(server.awaitEndOfMainThread());
    for (const RawPortInfo &record :
         {only(list(m_inventory), server.port()), only(list(m_inventory), server.port()),
          only(coldList(), server.port())}) {
        EXPECT_EQ(record.pid, server.pid());
        EXPECT_EQ(record.processName, "HelperTests");
        EXPECT_EQ(record.commandPath, std::filesystem::read_symlink("/proc/self/exe"));
        EXPECT_EQ(record.cwd, std::filesystem::current_path());
        EXPECT_FALSE(record.arguments.empty());
        EXPECT_GT(record.memoryBytes, 0U);
    }
}

TEST_F(ThreadedProcessTest, StaysTheOwnerWhenItsMainThreadEnds)
{
    const ThreadedServer server(Kind::WithoutMainThread);
    for (int listing = 0; listing < 50; ++listing) {
        const RawPortInfo record = only(list(m_inventory), server.port());
        ASSERT_EQ(record.pid, server.pid());
        ASSERT_EQ(record.processName, "HelperTests");
    }
    ASSERT_TRUE(server.awaitEndOfMainThread());
    EXPECT_EQ(only(list(m_inventory), server.port()).pid, server.pid());
}

TEST_F(ThreadedProcessTest, CanBeEndedWithoutItsMainThread)
{
    const ThreadedServer server(Kind::WithoutMainThread);
    ASSERT_TRUE(server.awaitEndOfMainThread());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(codeOf(terminate(m_inventory, server.pid())), KillResultCode::Terminated);
}

TEST_F(ThreadedProcessTest, OwnsWhatOneOfItsThreadsHasForItself)
{
    const ThreadedServer server(Kind::WithOwnDescriptors);
    EXPECT_EQ(only(list(m_inventory), server.port()).pid, server.pid());
    EXPECT_EQ(owner(server.port()), server.pid());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(codeOf(terminate(m_inventory, server.pid())), KillResultCode::Terminated);
}

} // namespace
} // namespace Tarnwick
