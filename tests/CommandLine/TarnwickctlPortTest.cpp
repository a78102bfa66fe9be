// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/LocalSocket.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace Tarnwick {

namespace {

using testing::HasSubstr;

std::vector<std::string> tarnwickctl(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), std::string(programPath));
    return arguments;
}

/// Whether @p program has become tarnwickctl, which handles signals in the default way.
bool isRunning(const RunningProgram &program)
{
    const std::string link = "/proc/" + std::to_string(program.pid()) + "/exe";
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::error_code error;
    while (std::filesystem::read_symlink(link, error) != std::filesystem::canonical(programPath)) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace

TEST(TarnwickctlWait, EndsWhenSomethingListens)
{
    const FileDescriptor server = LocalSocket::bound();
    const std::string port = std::to_string(LocalSocket::port(server));
    EXPECT_EQ(run(tarnwickctl({"wait", port, "--timeout", "0"})).exitCode, 1);
    RunningProgram waiting(tarnwickctl({"wait", port}));
    LocalSocket::listen(server);
    const auto result = waiting.finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

TEST(TarnwickctlWait, EndsWhenThePortCanBeBound)
{
    FileDescriptor server = LocalSocket::bound();
    const std::string port = std::to_string(LocalSocket::port(server));
    LocalSocket::listen(server);
    EXPECT_EQ(run(tarnwickctl({"wait", port, "--free", "--timeout", "0"})).exitCode, 1);
    RunningProgram waiting(tarnwickctl({"wait", port, "--free"}));
    server.reset();
    EXPECT_EQ(waiting.finish().exitCode, 0);
}

TEST(TarnwickctlWait, IsNotEndedByABoundSocketWithoutListeners)
{
    // Without SO_REUSEADDR the socket keeps every other from the port.
    FileDescriptor holder = LocalSocket::bound(0, LocalSocket::Reuse::No);
    const std::string port = std::to_string(LocalSocket::port(holder));
    const auto refused = run(tarnwickctl({"wait", port, "--free", "--timeout", "0"}));
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.errors, HasSubstr("cannot be bound yet"));
    RunningProgram waiting(tarnwickctl({"wait", port, "--free"}));
    holder.reset();
    EXPECT_EQ(waiting.finish().exitCode, 0);
}

TEST(TarnwickctlWait, EndsByTheSignalOfCtrlC)
{
    const FileDescriptor server = LocalSocket::bound();
    const std::string port = std::to_string(LocalSocket::port(server));
    RunningProgram waiting(tarnwickctl({"wait", port}));
    ASSERT_TRUE(isRunning(waiting));
    waiting.signal(SIGINT);
    EXPECT_EQ(waiting.finish().exitCode, 128 + SIGINT);
}

TEST(TarnwickctlUrl, PrintsTheUrlOfAListener)
{
    const ListeningChild child;
    const auto result = run(tarnwickctl({"url", child.portText()}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "http://localhost:" + child.portText() + "\n");
}

TEST(TarnwickctlUrl, PrintsNothingWithoutAListener)
{
    const FileDescriptor server = LocalSocket::bound();
    const auto result = run(tarnwickctl({"url", std::to_string(LocalSocket::port(server))}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
}

} // namespace Tarnwick
