// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/LocalSocket.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <unistd.h>

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
    // Nothing else gets the port meanwhile.
    const FileDescriptor reserved = LocalSocket::bound(LocalSocket::port(server));
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

TEST(TarnwickctlWhy, TellsOfTheSocketsTheOwnerAndItsAncestors)
{
    const ListeningChild child({.name = "shop-server", .arguments = {"shop-server"}});
    for (const auto &command :
         {tarnwickctl({"why", child.portText()}), tarnwickctl({child.portText()})}) {
        const auto result = run(command);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        EXPECT_THAT(result.output, testing::StartsWith("Port " + child.portText() +
                                                       ": shop-server (pid " + child.pidText()));
        EXPECT_THAT(result.output,
                    HasSubstr("127.0.0.1:" + child.portText() + ", IPv4, this machine only"));
        EXPECT_THAT(result.output, HasSubstr("http://localhost:" + child.portText()));
        EXPECT_THAT(result.output, HasSubstr("(pid " + std::to_string(getpid()) + ")"));
        EXPECT_THAT(result.output, testing::Not(HasSubstr("\x1b")));
    }
}

TEST(TarnwickctlWhy, FitsATerminalOf80Columns)
{
    const ListeningChild child({.arguments = {"shop-server", std::string(300, '0')}});
    PseudoTerminal terminal(80, 24);
    RunningProgram program(tarnwickctl({"why", child.portText()}), terminal,
                           {.environment = {"NO_COLOR=1", "TERM=xterm"}});
    const std::string output = program.finish().output;
    std::size_t width = 0;
    for (const char character : output) {
        width = character == '\n' || character == '\r' ? 0 : width + ((character & 0xC0) != 0x80);
        ASSERT_LE(width, 80U) << output;
    }
    EXPECT_THAT(output, HasSubstr("Listens"));
}

TEST(TarnwickctlWhy, WritesJson)
{
    const ListeningChild child({.name = "x\u202Ey", .arguments = {"a\nb"}});
    const auto result = run(tarnwickctl({child.portText(), "--json"}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, testing::StartsWith("{\"port\":" + child.portText() +
                                                   ",\"owners\":[{\"pid\":" + child.pidText()));
    EXPECT_THAT(result.output, HasSubstr(R"("address":"127.0.0.1","family":"IPv4")"));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("\u202E")));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
}

TEST(TarnwickctlWhy, NamesWhatElseHoldsThePort)
{
    const FileDescriptor holder = LocalSocket::bound(0, LocalSocket::Reuse::No);
    const std::string port = std::to_string(LocalSocket::port(holder));
    const auto result = run(tarnwickctl({"why", port}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "Nothing listens on port " + port + ".\n");
    EXPECT_THAT(result.output, HasSubstr("cannot be bound yet"));
    if (result.output.find("does not list") == std::string::npos) {
        EXPECT_THAT(result.output, HasSubstr("bound to 127.0.0.1:" + port + ", not listening"));
        EXPECT_THAT(result.output, HasSubstr("(pid " + std::to_string(getpid()) + ")"));
    }
}

TEST(TarnwickctlWhy, TellsConnectionsOfAFormerServer)
{
    FileDescriptor server = LocalSocket::bound();
    LocalSocket::listen(server);
    const std::string port = std::to_string(LocalSocket::port(server));
    LocalSocket::Connection connection = LocalSocket::connection(server);
    server.reset();
    const auto open = run(tarnwickctl({"why", port}));
    EXPECT_EQ(open.exitCode, 1);
    EXPECT_THAT(open.output, HasSubstr("connection from 127.0.0.1:" + port + " to 127.0.0.1:"));
    connection.server.reset();
    connection.client.reset();
    const auto closed = run(tarnwickctl({"why", port}));
    EXPECT_THAT(closed.output, HasSubstr("1 closed connection, kept for up to 60 s (TIME_WAIT)"));
    EXPECT_THAT(closed.output, HasSubstr("can be bound by a server that sets SO_REUSEADDR"));
}

} // namespace Tarnwick
