// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfo.h"
#include "Shared/Version.h"
#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/HelperProgram.h"
#include "tests/Support/HostileServer.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> tarnwickctl(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), std::string(programPath));
    return arguments;
}

RunningProgram::Result runTarnwickctl(std::vector<std::string> arguments,
                                      const RunningProgram::Setup &setup = {})
{
    return run(tarnwickctl(std::move(arguments)), setup);
}

/// Types @p text before a program reads from @p terminal, and waits until it can be read.
[[nodiscard]] bool typeAhead(const PseudoTerminal &terminal, std::string_view text)
{
    pollfd received{.fd = terminal.program.get(), .events = POLLIN, .revents = 0};
    return write(terminal.user.get(), text.data(), text.size()) ==
               static_cast<ssize_t>(text.size()) &&
           poll(&received, 1, 10'000) == 1;
}

/// A port on which nothing listened a moment ago.
std::string freePort()
{
    return ListeningChild().portText();
}

} // namespace

TEST(Tarnwickctl, ListsAListenerOfThisMachine)
{
    const ListeningChild child;
    const auto result = runTarnwickctl({"--port", child.portText()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("PORT"));
    EXPECT_THAT(result.output, HasSubstr(child.pidText()));
    EXPECT_THAT(result.output, HasSubstr("shop-server"));
    EXPECT_THAT(result.output, EndsWith("1 listener: 0 system, 0 app, 0 dev, 1 unknown\n"));
    EXPECT_EQ(result.errors, "");
}

TEST(Tarnwickctl, ShowsTheColumnsThatAreNamed)
{
    const ListeningChild child;
    const auto result =
        runTarnwickctl({"--port", child.portText(), "--columns", "address,exposed,process,parent"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, StartsWith("ADDRESS    EXPOSED  PROCESS      PARENT\n"
                                          "127.0.0.1  no       shop-server  "));
    EXPECT_THAT(result.output, HasSubstr(" " + std::to_string(getpid()) + "\n"));
    EXPECT_EQ(runTarnwickctl({"--port", child.portText(), "--exposed"}).exitCode, 1);
}

TEST(Tarnwickctl, WritesProcessIdentifiersForScripts)
{
    const ListeningChild child({.ports = 2});
    const auto result =
        runTarnwickctl({"list", "--pids", "--port", child.portText(0) + "," + child.portText(1)});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, child.pidText() + "\n");
    EXPECT_EQ(result.errors, "");
}

TEST(Tarnwickctl, ListsTheListenersOfAUser)
{
    const ListeningChild child;
    const std::string user = std::to_string(getuid());
    EXPECT_EQ(runTarnwickctl({"--port", child.portText(), "--user", user}).exitCode, 0);
    const std::string another = std::to_string(getuid() + 1);
    EXPECT_EQ(runTarnwickctl({"--port", child.portText(), "--user", another}).exitCode, 1);
}

TEST(Tarnwickctl, TellsThatAnotherServerAnswersLocalhost)
{
    const ListeningChild child;
    const FileDescriptor server(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    address.sin6_port = htons(static_cast<std::uint16_t>(child.port()));
    if (bind(server.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        GTEST_SKIP() << "the port is not to be had over IPv6: " << std::strerror(errno);
    }
    ASSERT_EQ(listen(server.get(), 1), 0);
    const auto result = runTarnwickctl({"--port", child.portText()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output,
                HasSubstr("\nPort " + child.portText() + ": localhost is answered by "));
    EXPECT_THAT(result.output, HasSubstr(" (pid " + std::to_string(getpid()) +
                                         ") at ::1, not by shop-server (pid " + child.pidText() +
                                         ") at 127.0.0.1.\n2 listeners: "));
}

TEST(Tarnwickctl, WritesRecordsThatTheApplicationCanRead)
{
    const ListeningChild child;
    const auto result = runTarnwickctl({"list", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    const RawPortInfo::Decoded decoded = RawPortInfo::decode(result.output);
    const auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    ASSERT_NE(records, nullptr) << result.output;
    const bool hasChild = std::any_of(records->begin(), records->end(), [&](const auto &record) {
        return record.pid == child.pid() && record.port == child.port();
    });
    EXPECT_TRUE(hasChild);
    EXPECT_THAT(result.output, HasSubstr(R"("tier":"unknown","description":"shop-server",)"
                                         R"("address":"127.0.0.1","exposed":false,"user":")"));
}

TEST(Tarnwickctl, KeepsHostileNamesFromItsOutput)
{
    const ListeningChild child({.name = "x\x1b[2J\n\u202Ey", .arguments = {"a\x1b]0;t\x07\nb"}});
    for (const char *format : {"--search=", "--json"}) {
        const auto result = runTarnwickctl({"--port", child.portText(), format});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
        EXPECT_THAT(result.output, Not(HasSubstr("\u202E")));
        EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3);
    }
}

TEST(Tarnwickctl, BoundsItsMemoryWhateverAProcessCallsItself)
{
    if (isSanitized) {
        GTEST_SKIP() << "a sanitizer reserves more memory than is left";
    }
    constexpr int listeners = 400;
    Puppet hostile = hostileServer();
    for (int count = 0; count < listeners; ++count) {
        hostile.listen();
    }
    const auto result = run({"/bin/sh", "-c", R"(ulimit -v 200000; exec "$0" "$@")",
                             std::string(programPath), "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const RawPortInfo::Decoded decoded = RawPortInfo::decode(result.output);
    const auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(std::count_if(records->begin(), records->end(),
                            [&hostile](const auto &record) { return record.pid == hostile.pid(); }),
              listeners);
}

TEST(Tarnwickctl, SaysThatThereIsNoMemoryLeft)
{
    if (isSanitized) {
        GTEST_SKIP() << "a sanitizer reserves more memory than is left";
    }
    const Puppet server = verboseServer();
    const auto runWith = [](int kibibytes, const char *argument) {
        return run({"/bin/sh", "-c",
                    "ulimit -v " + std::to_string(kibibytes) + R"(; exec "$0" "$1")",
                    std::string(programPath), argument});
    };
    int least = 4000;
    while (runWith(least, "--version").exitCode != 0) {
        least += 1000;
    }
    bool hasFailed = false;
    for (const int left : {1000, 2000, 4000, 8000, 16'000, 24'000, 32'000, 64'000, 200'000}) {
        // Its table is made when everything is known; JSON is written while it is read.
        const auto result = runWith(least + left, "list");
        if (result.exitCode != 0) {
            EXPECT_EQ(result.exitCode, 4) << left;
            EXPECT_EQ(result.errors, "tarnwickctl: no memory left\n");
            hasFailed = true;
        }
    }
    EXPECT_TRUE(hasFailed);
}

TEST(Tarnwickctl, TellsItsVersionAndHelps)
{
    const auto told = runTarnwickctl({"--version"});
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_EQ(told.output, "tarnwickctl " + std::string(version) + "\n");
    const auto help = runTarnwickctl({"kill", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.output, HasSubstr("--system"));
}

TEST(Tarnwickctl, TellsWrongUsageFromOtherFailures)
{
    const auto result = runTarnwickctl({"--port", "http"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, StartsWith("tarnwickctl: --port: 'http' is not a port"));
}

TEST(Tarnwickctl, SaysThatNothingListensOnAPort)
{
    const std::string port = freePort();
    const auto result = runTarnwickctl({"--port", port, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "[]\n");
    EXPECT_EQ(result.errors, "Nothing listens on port " + port + ".\n");
    EXPECT_EQ(runTarnwickctl({"kill", "--yes", port}).exitCode, 1);
}

TEST(Tarnwickctl, FailsWhenTheDiskIsFull)
{
    const ListeningChild child;
    const auto result = runTarnwickctl({}, {.outputPath = "/dev/full"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.errors, "tarnwickctl: Cannot write the output: No space left on device\n");
}

TEST(Tarnwickctl, FailsWithoutAnOutput)
{
    const ListeningChild child;
    EXPECT_EQ(runTarnwickctl({"--json"}, {.closed = {STDOUT_FILENO}}).exitCode, 4);
    EXPECT_EQ(runTarnwickctl({"--json"}, {.closed = {STDIN_FILENO, STDERR_FILENO}}).exitCode, 0);
}

TEST(Tarnwickctl, IsQuietWhenItsReaderGoesAway)
{
    const ListeningChild child;
    RunningProgram program(tarnwickctl({"--json"}));
    program.closeOutput();
    const auto result = program.finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(Tarnwickctl, FitsATerminalAndColorsIt)
{
    const ListeningChild child({.arguments = {std::string(200, 'x')}});
    PseudoTerminal terminal(60, 24);
    const auto result = RunningProgram(tarnwickctl({"--port", child.portText()}), terminal,
                                       {.environment = {"TERM=xterm", "COLORTERM=", "NO_COLOR="}})
                            .finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("…"));
    EXPECT_THAT(result.output, HasSubstr("\x1b[38;5;"));
}

TEST(Tarnwickctl, HasNoColorsWhereTheUserWantsNone)
{
    const ListeningChild child;
    PseudoTerminal terminal(60, 24);
    const auto result = RunningProgram(tarnwickctl({"--port", child.portText()}), terminal,
                                       {.environment = {"TERM=xterm", "NO_COLOR=1"}})
                            .finish();
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST(Tarnwickctl, HasNoColorsWhereTheTerminalIsOfNoKnownType)
{
    const ListeningChild child;
    PseudoTerminal terminal(60, 24);
    const auto result = RunningProgram({"/bin/sh", "-c", R"(unset TERM; exec "$0" "$@")",
                                        std::string(programPath), "--port", child.portText()},
                                       terminal, {.environment = {"NO_COLOR="}})
                            .finish();
    EXPECT_THAT(result.output, HasSubstr(child.portText()));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST(TarnwickctlKill, StopsTheOwnerOfAPort)
{
    ListeningChild child;
    const auto result = runTarnwickctl({"kill", "--yes", child.portText()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "[kill] :" + child.portText() + " terminated\n");
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, ForcesAProcessThatIgnoresTheRequest)
{
    ListeningChild child({.ignoresSigterm = true});
    const auto result = runTarnwickctl({"kill", "--yes", "--pid", child.pidText()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "[kill] :" + child.portText() + " force-killed\n");
    EXPECT_EQ(child.endedBy(), SIGKILL);
}

TEST(TarnwickctlKill, StopsAnOwnerOfTwoPortsOnce)
{
    ListeningChild child({.ports = 2});
    const auto result = runTarnwickctl({"kill", "-y", child.portText(0), child.portText(1)});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("[kill] :" + child.portText(0) + " terminated\n"));
    EXPECT_THAT(result.output, HasSubstr("[kill] :" + child.portText(1) + " terminated\n"));
}

TEST(TarnwickctlKill, RefusesWithoutATerminalToAskOn)
{
    ListeningChild child;
    const auto result = runTarnwickctl({"kill", child.portText()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("--yes"));
    EXPECT_EQ(child.endedBy(), 0);
}

TEST(TarnwickctlKill, AsksOnATerminal)
{
    ListeningChild child;
    PseudoTerminal terminal(80, 24);
    RunningProgram program(tarnwickctl({"kill", child.portText()}), terminal);
    ASSERT_TRUE(program.shows("Stop shop-server (pid " + child.pidText() + ") on port " +
                              child.portText() + "? [y/N] "));
    program.type("y\n");
    EXPECT_TRUE(program.shows("[kill] :" + child.portText() + " terminated"));
    EXPECT_EQ(program.finish().exitCode, 0);
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, TakesNoAnswerThatWasTypedBeforeTheQuestion)
{
    ListeningChild child;
    PseudoTerminal terminal(80, 24);
    ASSERT_TRUE(typeAhead(terminal, "y\n"));
    RunningProgram program(tarnwickctl({"kill", child.portText()}), terminal);
    ASSERT_TRUE(program.shows("[y/N] "));
    program.type("n\n");
    EXPECT_EQ(program.finish().exitCode, 1);
    EXPECT_EQ(child.endedBy(), 0);
}

TEST(TarnwickctlKill, TakesAnAnswerForOneQuestionOnly)
{
    ListeningChild first;
    ListeningChild second;
    PseudoTerminal terminal(80, 24);
    RunningProgram program(tarnwickctl({"kill", first.portText(), second.portText()}), terminal);
    ASSERT_TRUE(program.shows("on port " + first.portText() + "? [y/N] "));
    program.type("y\ny\n");
    ASSERT_TRUE(program.shows("on port " + second.portText() + "? [y/N] "));
    program.type("n\n");
    EXPECT_EQ(program.finish().exitCode, 1);
    EXPECT_EQ(first.endedBy(), SIGTERM);
    EXPECT_EQ(second.endedBy(), 0);
}

TEST(TarnwickctlKill, RefusesWhereTheQuestionCannotBeRead)
{
    ListeningChild child;
    const TemporaryFolder folder;
    const std::string file = folder.path() / "errors";
    for (const std::string &errors : {std::string("/dev/null"), file}) {
        PseudoTerminal terminal(80, 24);
        RunningProgram program({"/bin/sh", "-c", R"(exec "$0" kill "$1" 2>"$2")",
                                std::string(programPath), child.portText(), errors},
                               terminal);
        program.type("y\ny\n");
        EXPECT_EQ(program.finish().exitCode, 2) << errors;
        EXPECT_EQ(child.endedBy(), 0) << errors;
    }
    std::string written;
    std::getline(std::ifstream(file), written);
    EXPECT_EQ(written, "tarnwickctl: Standard error is not a terminal to ask on; --yes is needed.");
}

TEST(TarnwickctlKill, AsksOnATerminalInRawMode)
{
    const std::vector<std::tuple<std::string, int, int>> answers{
        {"n\r", 1, 0}, {"y\x03", 1, 0}, {"\x04", 1, 0}, {"y\r", 0, SIGTERM}};
    ListeningChild child;
    for (const auto &[answer, exitCode, endedBy] : answers) {
        PseudoTerminal terminal(80, 24);
        termios settings{};
        ASSERT_EQ(tcgetattr(terminal.program.get(), &settings), 0);
        cfmakeraw(&settings);
        ASSERT_EQ(tcsetattr(terminal.program.get(), TCSANOW, &settings), 0);
        RunningProgram program(tarnwickctl({"kill", child.portText()}), terminal);
        ASSERT_TRUE(program.shows("[y/N] "));
        program.type(answer);
        EXPECT_EQ(program.finish().exitCode, exitCode) << testing::PrintToString(answer);
        EXPECT_EQ(child.endedBy(), endedBy) << testing::PrintToString(answer);
    }
}

TEST(TarnwickctlKill, MayHaveAsManyDescriptorsAsItIsAllowed)
{
    ListeningChild child;
    PseudoTerminal terminal(80, 24);
    RunningProgram program({"/bin/sh", "-c", R"(ulimit -Sn 64; exec "$0" "$@")",
                            std::string(programPath), "kill", child.portText()},
                           terminal);
    ASSERT_TRUE(program.shows("[y/N] "));
    rlimit limit{};
    ASSERT_EQ(prlimit(program.pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
    EXPECT_EQ(limit.rlim_cur, limit.rlim_max);
    program.type("n\n");
    EXPECT_EQ(program.finish().exitCode, 1);
}

TEST(TarnwickctlKill, DoesNothingAfterANoAnEndOfInputOrAnInterrupt)
{
    ListeningChild child;
    const std::vector<std::pair<std::string, int>> answers{
        {"n\n", 1}, {"\n", 1}, {"\x04", 1}, {"y\x04\x04", 1}, {"\x03", 128 + SIGINT}};
    for (const auto &[answer, exitCode] : answers) {
        PseudoTerminal terminal(80, 24);
        RunningProgram program(tarnwickctl({"kill", child.portText()}), terminal);
        ASSERT_TRUE(program.shows("[y/N] "));
        program.type(answer);
        EXPECT_EQ(program.finish().exitCode, exitCode);
        EXPECT_EQ(child.endedBy(), 0);
    }
}

TEST(TarnwickctlKill, GuardsTheSystemTier)
{
    ListeningChild child({.isSystem = true});
    const auto result = runTarnwickctl({"kill", "--yes", child.portText()});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("system tier; --system is needed"));
    EXPECT_EQ(child.endedBy(), 0);

    EXPECT_EQ(runTarnwickctl({"kill", "--yes", "--system", child.portText()}).exitCode, 0);
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, TellsWhoHoldsThePortNow)
{
    ListeningChild child({.hasChild = true});
    const auto result = runTarnwickctl({"kill", "--yes", child.portText()});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.output, "[kill] :" + child.portText() + " terminated\n");
    EXPECT_THAT(result.errors, HasSubstr("Port " + child.portText() + " is still held by "));
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, FindsThePortTakenByAProcessThatSharedItAndInheritedTheSocket)
{
    ListeningChild child({.hasChild = true, .childListens = true});
    ASSERT_GT(child.grandchild(), 0);
    const auto result = runTarnwickctl({"kill", "--yes", "--pid", child.pidText()});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.errors,
                EndsWith("Port " + child.portText() + " is still held by shop-server" + " (pid " +
                         std::to_string(child.grandchild()) + ").\n"));
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, FindsThePortTakenByAChildWithASocketOfItsOwn)
{
    ListeningChild child({.hasChild = true, .childListens = true, .childInherits = false});
    ASSERT_GT(child.grandchild(), 0);
    const auto result = runTarnwickctl({"kill", "--yes", "--pid", child.pidText()});
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_EQ(result.output, "[kill] :" + child.portText() + " terminated\n");
    EXPECT_THAT(result.errors,
                EndsWith("Port " + child.portText() + " is still held by shop-server" + " (pid " +
                         std::to_string(child.grandchild()) + ").\n"));
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, LeavesThePortToWhomItWasSharedWith)
{
    ListeningChild child({.isShared = true});
    const FileDescriptor share = child.shareFirstPort();
    const auto result = runTarnwickctl({"kill", "--yes", "--pid", child.pidText()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, EndsWith("(pid " + std::to_string(getpid()) + ").\n"));
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, FindsThePortTakenByASocketThatWasOpenedSinceTheQuestion)
{
    ListeningChild child({.isShared = true});
    const FileDescriptor share = child.shareFirstPort();
    PseudoTerminal terminal(80, 24);
    RunningProgram program(tarnwickctl({"kill", "--pid", child.pidText()}), terminal);
    ASSERT_TRUE(program.shows("[y/N] "));
    const FileDescriptor opened = child.shareFirstPort();
    program.type("y\n");
    const auto result = program.finish();
    EXPECT_EQ(result.exitCode, 5);
    EXPECT_THAT(result.output, HasSubstr("Port " + child.portText() + " is still held by "));
    EXPECT_EQ(child.endedBy(), SIGTERM);
}

TEST(TarnwickctlKill, SaysThatAProcessDoesNotListen)
{
    const std::string pid = std::to_string(getpid());
    const auto result = runTarnwickctl({"kill", "--yes", "--pid", pid});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "Process " + pid + " does not listen on any TCP port.\n");
}

TEST(TarnwickctlKill, IsNotPermittedToStopAProcessOfRoot)
{
    constexpr uid_t nobody = 65'534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can be both users";
    }
    ListeningChild child;
    const auto result = runTarnwickctl({"kill", "--yes", child.portText()}, {.user = nobody});
    if (result.exitCode == 127) {
        GTEST_SKIP() << "the other user cannot reach the program";
    }
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.errors, HasSubstr("Running as root may help."));
    EXPECT_EQ(child.endedBy(), 0);
}

} // namespace Tarnwick
