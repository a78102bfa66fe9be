// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"
#include "tests/CommandLine/ProgramPaths.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <optional>
#include <string>

#include <termios.h>

namespace Tarnwick {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view leavesScreen = "\x1b[?7h\x1b[?25h\x1b[?1049l";

std::vector<std::string> watch(std::vector<std::string> options = {})
{
    options.insert(options.begin(), {std::string(programPath), "watch"});
    return options;
}

/// Echo and line editing, as the terminal has them.
tcflag_t localModes(const PseudoTerminal &terminal)
{
    termios settings{};
    EXPECT_EQ(tcgetattr(terminal.user.get(), &settings), 0);
    return settings.c_lflag;
}

const RunningProgram::Setup onXterm{.environment = {"TERM=xterm", "NO_COLOR=1"}};

} // namespace

TEST(TarnwickctlWatch, WritesALineForEachChange)
{
    std::optional<ListeningChild> child(std::in_place);
    RunningProgram program(watch({"--interval", "0.2"}));
    const std::string text = " :" + child->portText() + " shop-server " + child->pidText() + "\n";
    EXPECT_TRUE(program.shows("+" + text));
    child.reset();
    EXPECT_TRUE(program.shows("-" + text));
    program.signal(SIGTERM);
    const auto result = program.finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
    EXPECT_EQ(result.errors, "");
}

TEST(TarnwickctlWatch, WritesNoLineForAListenerThatRenamesItself)
{
    Puppet server;
    const std::string port = std::to_string(server.listen().port);
    RunningProgram program(watch({"--interval", "0.2"}));
    EXPECT_TRUE(program.shows(" :" + port + " "));
    server.rename("renamed");
    server.retitle("renamed: serving");
    // What comes now was seen after that.
    std::optional<ListeningChild> child(std::in_place);
    EXPECT_TRUE(program.shows("+ :" + child->portText() + " shop-server "));
    child.reset();
    EXPECT_TRUE(program.shows("- :"));
    program.signal(SIGTERM);
    const std::string output = program.finish().output;
    const std::size_t first = output.find(" :" + port + " ");
    EXPECT_EQ(output.find(" :" + port + " ", first + 1), std::string::npos) << output;
}

TEST(TarnwickctlWatch, WritesAnObjectForEachChange)
{
    std::optional<ListeningChild> child(std::in_place);
    RunningProgram program(watch({"--interval", "0.2", "--json", "--port", child->portText()}));
    EXPECT_TRUE(program.shows(R"(Z","change":"opened","pid":)" + child->pidText()));
    child.reset();
    EXPECT_TRUE(program.shows(R"(Z","change":"closed","pid":)"));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, EndsWhenItsReaderGoesAwayAlthoughNothingChanges)
{
    const ListeningChild child;
    RunningProgram program(watch({"--interval", "3600"}));
    ASSERT_TRUE(program.shows("shop-server"));
    program.closeOutput();
    const auto result = program.finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(TarnwickctlWatch, FailsWhenTheDiskIsFull)
{
    const ListeningChild child;
    EXPECT_EQ(run(watch(), {.outputPath = "/dev/full"}).exitCode, 4);
}

TEST(TarnwickctlWatch, FillsTheTerminalAndGivesItBackOnQ)
{
    const ListeningChild child;
    PseudoTerminal terminal(80, 24);
    const tcflag_t modesBefore = localModes(terminal);
    RunningProgram program(watch({"--port", child.portText()}), terminal, onXterm);
    ASSERT_TRUE(program.shows("\x1b[?1049h\x1b[?25l"));
    ASSERT_TRUE(program.shows("1 listener:"));
    EXPECT_EQ(localModes(terminal) & (ICANON | ECHO), 0U);
    program.type("zq");
    ASSERT_TRUE(program.shows(leavesScreen));
    EXPECT_EQ(program.finish().exitCode, 0);
    EXPECT_EQ(localModes(terminal), modesBefore);
}

TEST(TarnwickctlWatch, GivesTheTerminalBackOnSignals)
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        PseudoTerminal terminal(80, 24);
        const tcflag_t modesBefore = localModes(terminal);
        RunningProgram program(watch({"--interval", "3600"}), terminal, onXterm);
        ASSERT_TRUE(program.shows("\x1b[K"));
        program.signal(number);
        EXPECT_TRUE(program.shows(leavesScreen));
        EXPECT_EQ(program.finish().exitCode, 0);
        EXPECT_EQ(localModes(terminal), modesBefore);
    }
}

TEST(TarnwickctlWatch, GivesTheTerminalBackBeforeASignalEndsIt)
{
    std::vector<std::string> command = watch({"--interval", "3600"});
    command.insert(command.begin(), {"/bin/sh", "-c", R"(ulimit -c 0; exec "$0" "$@")"});
    for (const int number : {SIGQUIT, SIGABRT, SIGUSR1}) {
        PseudoTerminal terminal(80, 24);
        const tcflag_t modesBefore = localModes(terminal);
        RunningProgram program(command, terminal, onXterm);
        ASSERT_TRUE(program.shows("\x1b[K"));
        if (number == SIGQUIT) {
            program.type("\x1c");
        } else {
            program.signal(number);
        }
        EXPECT_TRUE(program.shows(leavesScreen)) << number;
        EXPECT_EQ(program.finish().exitCode, 128 + number);
        EXPECT_EQ(localModes(terminal), modesBefore) << number;
    }
}

TEST(TarnwickctlWatch, GoesOnAfterAHangupThatItWasStartedToIgnore)
{
    std::vector<std::string> command = watch({"--interval", "0.2"});
    command.insert(command.begin(), {"/bin/sh", "-c", R"(trap '' HUP; exec "$0" "$@")"});
    const ListeningChild child;
    RunningProgram program(command);
    ASSERT_TRUE(program.shows(" :" + child.portText() + " shop-server"));
    program.signal(SIGHUP);
    const ListeningChild later({.name = "later-server"});
    EXPECT_TRUE(program.shows("+ :" + later.portText() + " later-server"));
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, EndsOnControlC)
{
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch(), terminal, onXterm);
    ASSERT_TRUE(program.shows("\x1b[K"));
    program.type("\x03");
    EXPECT_TRUE(program.shows(leavesScreen));
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, FollowsTheSizeOfTheTerminalAtOnce)
{
    // A name of its own: other tests may run at the same time.
    const ListeningChild child({.name = "nine-ports", .ports = 9});
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch({"--interval", "3600", "--search", "nine-ports"}), terminal,
                           onXterm);
    ASSERT_TRUE(program.shows("9 listeners:"));
    program.resize(80, 5);
    EXPECT_TRUE(program.shows("1-3 of 9 listeners"));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, GivesTheTerminalBackWhileItIsStopped)
{
    PseudoTerminal terminal(80, 24);
    const tcflag_t modesBefore = localModes(terminal);
    RunningProgram program(watch({"--interval", "3600"}), terminal, onXterm);
    ASSERT_TRUE(program.shows("\x1b[K"));
    program.type("\x1a");
    EXPECT_TRUE(program.shows(leavesScreen));
    ASSERT_TRUE(program.stops());
    EXPECT_EQ(localModes(terminal), modesBefore);
    program.signal(SIGCONT);
    EXPECT_TRUE(program.shows("\x1b[?1049h"));
    EXPECT_TRUE(program.shows("\x1b[K"));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, ShowsAChangeLongBeforeTheNextScan)
{
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch({"--interval", "3600", "--search", "early-server"}), terminal,
                           onXterm);
    ASSERT_TRUE(program.shows("No listener matches."));
    std::optional<ListeningChild> child(std::in_place,
                                        ListeningChild::Setup{.name = "early-server"});
    EXPECT_TRUE(program.shows("1 listener:"));
    child.reset();
    EXPECT_TRUE(program.shows("No listener matches."));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, FiltersWhileTheUserTypes)
{
    const ListeningChild child({.name = "typed-server"});
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch({"--search", "typed-server"}), terminal, onXterm);
    ASSERT_TRUE(program.shows("1 listener:"));
    program.type("/no-such");
    EXPECT_TRUE(program.shows("/no-such_  0 of 1"));
    program.type("\x1b");
    EXPECT_TRUE(program.shows("1 listener:"));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, StopsTheSelectedProcessAfterAQuestion)
{
    ListeningChild child({.name = "doomed-server", .ports = 2});
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch({"--interval", "3600", "--search", "doomed-server"}), terminal,
                           onXterm);
    ASSERT_TRUE(program.shows("2 listeners:"));
    program.type("x");
    ASSERT_TRUE(program.shows("Stop doomed-server (pid " + child.pidText() + ") on ports "));
    ASSERT_TRUE(program.shows("[y/N]"));
    program.type("n");
    ASSERT_TRUE(program.shows("2 listeners:"));
    EXPECT_EQ(child.endedBy(), 0);
    program.type("\x1b[Bx");
    ASSERT_TRUE(program.shows("[y/N]"));
    program.type("y");
    EXPECT_TRUE(program.shows("has ended."));
    EXPECT_TRUE(program.shows("doomed-server (pid " + child.pidText() + ")"));
    EXPECT_EQ(child.endedBy(), SIGTERM);
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, ShowsDetailsHistoryAndHelp)
{
    std::optional<ListeningChild> child(std::in_place,
                                        ListeningChild::Setup{.name = "detailed-server"});
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch({"--search", "detailed-server"}), terminal, onXterm);
    ASSERT_TRUE(program.shows("1 listener:"));
    program.type("\r");
    EXPECT_TRUE(program.shows("127.0.0.1, this machine only"));
    EXPECT_TRUE(program.shows("Esc: back"));
    child.reset();
    EXPECT_TRUE(program.shows("It listens no more."));
    program.type("h");
    EXPECT_TRUE(program.shows("  closed  :"));
    program.type("?");
    EXPECT_TRUE(program.shows("select a row"));
    program.type("q");
    EXPECT_EQ(program.finish().exitCode, 0);
}

TEST(TarnwickctlWatch, WritesLinesOnADumbTerminal)
{
    const ListeningChild child;
    PseudoTerminal terminal(80, 24);
    RunningProgram program(watch(), terminal, {.environment = {"TERM=dumb"}});
    EXPECT_TRUE(program.shows("+ :" + child.portText() + " shop-server"));
    program.signal(SIGINT);
    const auto result = program.finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

} // namespace Tarnwick
