// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/LocalSocket.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryCopy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr const char *python = "/usr/bin/python3";

/// Listens on 127.0.0.1 for a minute, or until the test ends whose identifier comes first; on any
/// port for 0, which it prints. Further arguments: "workers" for three that inherit the socket and
/// ignore SIGTERM, "stubborn" to ignore it itself, "once" to end the first connection itself,
/// without SO_REUSEADDR.
constexpr std::string_view serverProgram = R"(
import os, signal, socket, sys, time
test, port, ways = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3:]
server = socket.socket()
if 'once' not in ways:
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
server.bind(('127.0.0.1', port))
server.listen()
print('port %d.' % server.getsockname()[1], flush=True)
if 'workers' in ways:
    for number in range(3):
        if os.fork() == 0:
            signal.signal(signal.SIGTERM, signal.SIG_IGN)
            break
if 'stubborn' in ways:
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
if 'once' in ways:
    server.accept()[0].close()
    print('closed.', flush=True)
end = time.monotonic() + 60
while time.monotonic() < end and os.path.exists('/proc/%d' % test):
    time.sleep(0.05)
)";

/// Starts its arguments again and again, without an end of its own for SIGTERM.
constexpr std::string_view runnerProgram = R"(
import os, signal, subprocess, sys
signal.signal(signal.SIGTERM, lambda *ignored: None)
while os.path.exists('/proc/' + sys.argv[1]):
    subprocess.call(sys.argv[2:])
)";

/// Servers that scripts and runners start, in sessions of their own.
class TarnwickctlFree : public testing::Test
{
protected:
    void SetUp() override
    {
        if (::access(python, X_OK) != 0) {
            GTEST_SKIP() << python << " is not installed";
        }
        file("server.py", serverProgram);
        file("runner.py", runnerProgram);
    }

    [[nodiscard]] std::string path(std::string_view name) const { return m_files.folder() / name; }

    void file(std::string_view name, std::string_view text) const
    {
        std::ofstream(path(name)) << text;
    }

    /// A shell's command for a server on the port with that index, which nothing else takes.
    [[nodiscard]] std::string server(std::size_t index = 0, std::string_view ways = {})
    {
        while (m_reserved.size() <= index) {
            m_reserved.push_back(LocalSocket::bound());
        }
        return std::string(python) + " " + path("server.py") + " " + test() + " " + port(index) +
               " " + std::string(ways);
    }

    [[nodiscard]] std::string port(std::size_t index = 0) const
    {
        return std::to_string(LocalSocket::port(m_reserved.at(index)));
    }

    [[nodiscard]] static std::string test() { return std::to_string(::getpid()); }

    /// Starts @p command as a job of its own; true once all servers listen.
    [[nodiscard]] bool start(std::vector<std::string> command,
                             const RunningProgram::Setup &setup = {})
    {
        command.insert(command.begin(), "setsid");
        m_programs.push_back(std::make_unique<RunningProgram>(command, setup));
        std::vector<std::string> wait{"wait", "--timeout", "10"};
        for (std::size_t index = 0; index < m_reserved.size(); ++index) {
            wait.push_back(port(index));
        }
        return tarnwickctl(wait).exitCode == 0;
    }

    /// The program that was started first.
    [[nodiscard]] RunningProgram &program() const { return *m_programs.front(); }

    static RunningProgram::Result tarnwickctl(std::vector<std::string> arguments,
                                              const RunningProgram::Setup &setup = {})
    {
        arguments.insert(arguments.begin(), std::string(programPath));
        return run(arguments, setup);
    }

    /// The tests' servers are of the tier that the system's Python has, whatever that is.
    static RunningProgram::Result free(std::vector<std::string> arguments,
                                       const RunningProgram::Setup &setup = {})
    {
        arguments.insert(arguments.begin(), {"free", "--system", "--yes"});
        return tarnwickctl(std::move(arguments), setup);
    }

    [[nodiscard]] bool isListening(std::size_t index = 0) const
    {
        return tarnwickctl({"wait", port(index), "--timeout", "0"}).exitCode == 0;
    }

private:
    TemporaryCopy m_files;
    std::vector<FileDescriptor> m_reserved;
    std::vector<std::unique_ptr<RunningProgram>> m_programs;
};

} // namespace

TEST_F(TarnwickctlFree, EndsTheLoopOfAScript)
{
    const std::string loop = "while test -e /proc/" + test() + "; do " + server() + "; done";
    ASSERT_TRUE(start({"bash", "-c", loop}));
    const auto shown = tarnwickctl({"free", "--system", "--dry-run", port()});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(shown.output, HasSubstr("runner bash (pid " + std::to_string(program().pid())));
    EXPECT_TRUE(isListening());
    const auto result = free({port()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "[free] :" + port() + " free\n");
    EXPECT_EQ(result.errors, shown.output);
    EXPECT_EQ(program().finish().exitCode, 128 + SIGTERM);
    EXPECT_FALSE(isListening());
}

TEST_F(TarnwickctlFree, EndsARunnerThatDoesNotEndItself)
{
    const std::string command = server();
    ASSERT_TRUE(start(
        {"sh", "-c",
         std::string(python) + " " + path("runner.py") + " " + test() + " " + command + "; :"}));
    const auto result = free({port()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(program().finish().exitCode, 128 + SIGTERM);
    EXPECT_FALSE(isListening());
}

TEST_F(TarnwickctlFree, LeavesTheOtherServersOfAScriptAlone)
{
    file("three.sh", server(0) + "&\n" + server(1) + "&\n" + server(2) + "\n");
    ASSERT_TRUE(start({"bash", path("three.sh")}));
    for (const std::size_t freed : {1U, 2U}) {
        const auto result = free({port(freed)});
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_FALSE(isListening(freed));
    }
    EXPECT_TRUE(isListening(0));
}

TEST_F(TarnwickctlFree, EndsWorkersThatHoldTheSocket)
{
    ASSERT_TRUE(start({"sh", "-c", server(0, "workers") + "; :"}));
    const auto result = free({port()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("worker"));
    EXPECT_FALSE(isListening());
}

TEST_F(TarnwickctlFree, ForcesAServerThatIgnoresSigterm)
{
    ASSERT_TRUE(start({"sh", "-c", server(0, "stubborn") + "; :"}));
    EXPECT_EQ(free({port()}).exitCode, 0);
    EXPECT_FALSE(isListening());
}

TEST_F(TarnwickctlFree, FreesSeveralPortsOfSeveralServers)
{
    file("two.sh", server(0) + "&\n" + server(1) + "\n");
    ASSERT_TRUE(start({"bash", path("two.sh")}));
    const auto result = free({port(1), port(0)});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, "[free] :" + port(1) + " free\n[free] :" + port(0) + " free\n");
}

TEST_F(TarnwickctlFree, LeavesTheShellAloneThatSharesItsGroupWithTheServer)
{
    const std::string command = server();
    PseudoTerminal terminal(200, 24);
    RunningProgram shell({"bash", "--norc", "--noprofile", "-i"}, terminal,
                         {.environment = {"PS1=ready> "}});
    ASSERT_TRUE(shell.shows("ready>"));
    // Without job control commands stay in the group of the shell.
    shell.type("set +m\n");
    shell.type(command + " &\n");
    ASSERT_EQ(tarnwickctl({"wait", port(), "--timeout", "10"}).exitCode, 0);
    const auto result = free({port()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_FALSE(isListening());
    shell.type("echo still $((40 + 2))\n");
    EXPECT_TRUE(shell.shows("still 42"));
}

TEST_F(TarnwickctlFree, SaysThatClosedConnectionsKeepThePort)
{
    RunningProgram server({"setsid", python, path("server.py"), test(), "0", "once"});
    ASSERT_TRUE(server.shows("port "));
    const std::string port = server.textBefore(".");
    const std::string client =
        "import socket; s = socket.create_connection(('127.0.0.1', " + port + ")); s.recv(1)";
    ASSERT_EQ(run({python, "-c", client}).exitCode, 0);
    ASSERT_TRUE(server.shows("closed."));
    const auto result = free({port});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.output, "[free] :" + port + " taken\n");
    EXPECT_THAT(result.errors, HasSubstr("1 closed connection, kept for up to 60 s (TIME_WAIT)"));
    EXPECT_EQ(server.finish().exitCode, 128 + SIGTERM);
}

TEST_F(TarnwickctlFree, SaysWhoHasBoundAPortWithoutListening)
{
    const FileDescriptor holder = LocalSocket::bound(0, LocalSocket::Reuse::No);
    const std::string port = std::to_string(LocalSocket::port(holder));
    const auto result = free({port});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.output, "[free] :" + port + " cannot be bound\n");
    EXPECT_THAT(result.errors,
                EndsWith("'tarnwickctl wait --free " + port + "' waits until it can.\n"));
}

TEST_F(TarnwickctlFree, IsDoneWithAPortOnWhichNothingListens)
{
    static_cast<void>(server());
    EXPECT_EQ(free({port()}).exitCode, 0);
}

TEST_F(TarnwickctlFree, RefusesWhatAnotherUserRuns)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the rights of root";
    }
    ASSERT_TRUE(start({"sh", "-c", server() + "; :"}));
    const auto refused = free({port()}, {.user = otherUser});
    EXPECT_EQ(refused.exitCode, 3) << refused.errors;
    EXPECT_EQ(refused.output, "");
    EXPECT_TRUE(isListening());
}

TEST_F(TarnwickctlFree, EndsAServerOfAnotherUserForRoot)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the rights of root";
    }
    ASSERT_TRUE(start({"sh", "-c", server() + "; :"}, {.user = otherUser}));
    const auto result = free({port()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_FALSE(isListening());
}

TEST_F(TarnwickctlFree, LeavesWhatRunsItAlone)
{
    // The script that frees the port has started the server.
    const std::string command = server();
    file("restart.sh", command + "&\n" + std::string(programPath) + " wait " + port() + "\n" +
                           std::string(programPath) + " free --system --yes " + port() +
                           "\necho status $?\n");
    const auto result = run({"setsid", "--wait", "bash", path("restart.sh")});
    EXPECT_THAT(result.output, EndsWith("free\nstatus 0\n")) << result.errors;
}

} // namespace Tarnwick
