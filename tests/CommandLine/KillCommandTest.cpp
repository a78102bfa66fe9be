// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/KillCommand.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct KillCommandTest : testing::Test
{
    TestConsole test;
    PreparedListings listings;
    NotedEnds ends;
    KillCommand::Release release{.interval = std::chrono::milliseconds(1),
                                 .atMost = std::chrono::milliseconds(20),
                                 .restart = std::chrono::milliseconds(5),
                                 .supervised = std::chrono::milliseconds(5)};

    KillCommandTest() { test.errors.shape.isTerminal = true; }

    /// What listens before, and after nothing.
    void listening(std::vector<RawPortInfo> records)
    {
        listings.listings = {std::move(records), std::vector<RawPortInfo>{}};
    }

    ExitCode run(KillArguments arguments)
    {
        return KillCommand(std::move(arguments), test.console, listings, ends, release).run();
    }

    ExitCode kill(std::vector<std::int64_t> ports, bool yes = false)
    {
        return run({.ports = std::move(ports), .pids = {}, .yes = yes});
    }
};

} // namespace

TEST_F(KillCommandTest, NamesTheProcessAsksAndStopsIt)
{
    listening({record(3000, 4711, "node"), record(3000, 4711, "node")});
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3000}), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(4711));
    EXPECT_EQ(test.errors.written,
              "node (pid 4711), tier dev, listens on port 3000: node ~/shop/server.js\n"
              "Stop node (pid 4711) on port 3000? [y/N] ");
    EXPECT_EQ(test.output.written, "[kill] :3000 terminated\n");
}

TEST_F(KillCommandTest, TakesOnlyAYesForAYes)
{
    for (const char *answer : {"y", "Y", "yes", "YES", " y "}) {
        listening({record(3000, 4711, "node")});
        ends.ended.clear();
        test.input.lines = {answer};
        EXPECT_EQ(kill({3000}), ExitCode::Done) << answer;
        EXPECT_THAT(ends.ended, ElementsAre(4711)) << answer;
    }
    for (const char *answer : {"", "n", "no", "yep", "y e s", "yy", "  "}) {
        listening({record(3000, 4711, "node")});
        ends.ended.clear();
        test.input.lines = {answer};
        EXPECT_EQ(kill({3000}), ExitCode::NothingDone) << answer;
        EXPECT_THAT(ends.ended, IsEmpty()) << answer;
    }
}

TEST_F(KillCommandTest, TakesTheEndOfTheInputForANo)
{
    listening({record(3000, 4711, "node")});
    EXPECT_EQ(kill({3000}), ExitCode::NothingDone);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(test.errors.written, EndsWith("[y/N] \n"));
}

TEST_F(KillCommandTest, TakesNoAnswerToAQuestionThatCouldNotBeWritten)
{
    listening({record(3000, 4711, "node")});
    test.errors.error = std::make_error_code(std::errc::no_space_on_device);
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3000}), ExitCode::NothingDone);
    EXPECT_THAT(ends.ended, IsEmpty());
}

TEST_F(KillCommandTest, TakesNoAnswerThatWasTypedBeforeTheQuestion)
{
    listening({record(3000, 4711, "node"), record(3001, 4712, "vite")});
    test.input.typedBefore = {"y", "y"};
    test.input.lines = {"n", "y"};
    EXPECT_EQ(kill({3000, 3001}), ExitCode::NothingDone);
    EXPECT_THAT(ends.ended, ElementsAre(4712));
}

TEST_F(KillCommandTest, TakesNoAnswerWhereWhatWasTypedBeforeCannotBeDiscarded)
{
    listening({record(3000, 4711, "node")});
    test.input.discardError = std::make_error_code(std::errc::io_error);
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3000}), ExitCode::NothingDone);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(test.errors.written, EndsWith("tarnwickctl: Cannot read an answer: " +
                                              test.input.discardError.message() + "\n"));
}

TEST_F(KillCommandTest, RefusesWhereTheQuestionCannotBeRead)
{
    listening({record(3000, 4711, "node")});
    test.errors.shape.isTerminal = false;
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3000}), ExitCode::Usage);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_EQ(test.errors.written, "tarnwickctl: Standard error is not a terminal to ask on; "
                                   "--yes is needed.\n");
}

TEST_F(KillCommandTest, DoesNotAskWhenToldSo)
{
    listening({record(3000, 4711, "node")});
    test.input.isATerminal = false;
    test.errors.shape.isTerminal = false;
    EXPECT_EQ(kill({3000}, true), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(4711));
    EXPECT_THAT(test.errors.written, Not(HasSubstr("[y/N]")));
}

TEST_F(KillCommandTest, RefusesWithoutATerminalToAskOn)
{
    listening({record(3000, 4711, "node")});
    test.input.isATerminal = false;
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3000}), ExitCode::Usage);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(test.errors.written, HasSubstr("--yes is needed"));
}

TEST_F(KillCommandTest, SaysThatNothingListensThere)
{
    EXPECT_EQ(kill({3000}, true), ExitCode::NothingDone);
    EXPECT_EQ(test.errors.written, "Nothing listens on port 3000.\n");
}

TEST_F(KillCommandTest, GuardsTheSystemTier)
{
    listening({systemRecord(22, 812, "sshd")});
    EXPECT_EQ(kill({22}, true), ExitCode::NotPermitted);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: sshd (pid 812) on port 22 belongs to the system tier; "
              "--system is needed to stop it.\n");
}

TEST_F(KillCommandTest, StopsTheSystemTierWhenToldSo)
{
    listening({systemRecord(22, 812, "sshd")});
    EXPECT_EQ(run({.ports = {22}, .pids = {}, .yes = true, .system = true}), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(812));
}

TEST_F(KillCommandTest, CannotStopAnUnknownOwner)
{
    RawPortInfo unknown = record(111, 0, "rpcbind.socket", "");
    unknown.arguments = {};
    unknown.originArguments = {"unknown, of user ada"};
    listening({unknown});
    EXPECT_EQ(kill({111}, true), ExitCode::NotPermitted);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_EQ(test.errors.written,
              "tarnwickctl: The owner of port 111 is unknown, of user ada, and "
              "cannot be stopped. Running as root may help.\n");
}

TEST_F(KillCommandTest, DoesNotRecommendRootToRoot)
{
    listening({record(111, 0, "rpcbind.socket")});
    test.console.environment.isRoot = true;
    EXPECT_EQ(kill({111}, true), ExitCode::NotPermitted);
    EXPECT_THAT(test.errors.written, Not(HasSubstr("root")));
}

TEST_F(KillCommandTest, ListsSeveralOwnersOfAPortAndWantsToBeToldWhich)
{
    listening({record(3000, 4711, "node"), record(3000, 4712, "vite")});
    test.errors.shape.isTerminal = false;
    EXPECT_EQ(kill({3000}, true), ExitCode::Usage);
    EXPECT_THAT(ends.ended, IsEmpty());
    EXPECT_THAT(test.errors.written, HasSubstr("PORT  ADDRESS  TIER   PID  USER  PROCESS"));
    EXPECT_THAT(test.errors.written, HasSubstr("3000  0.0.0.0  dev   4712        vite"));
    EXPECT_THAT(test.errors.written,
                EndsWith("tarnwickctl: Port 3000 has several owners; choose one with --pid.\n"));
}

TEST_F(KillCommandTest, StopsTheOwnerThatWasChosenWithAllItsPorts)
{
    listening({record(3000, 4711, "node"), record(3000, 4712, "vite"), record(3001, 4712, "vite")});
    EXPECT_EQ(run({.ports = {}, .pids = {4712}, .yes = true}), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(4712));
    EXPECT_EQ(test.output.written, "[kill] :3000 terminated\n[kill] :3001 terminated\n");
}

TEST_F(KillCommandTest, SaysThatAProcessDoesNotListen)
{
    listening({record(3000, 4711, "node")});
    EXPECT_EQ(run({.ports = {}, .pids = {1}, .yes = true}), ExitCode::NothingDone);
    EXPECT_EQ(test.errors.written, "Process 1 does not listen on any TCP port.\n");
}

TEST_F(KillCommandTest, AsksAProcessOnceForAllItsPorts)
{
    listening({record(3000, 4711, "node"), record(3001, 4711, "node"), record(3002, 4711, "node")});
    test.input.lines = {"y"};
    EXPECT_EQ(kill({3001, 3000, 3001}), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(4711));
    EXPECT_THAT(test.errors.written, HasSubstr("listens on ports 3000, 3001 and 3002: "));
    EXPECT_THAT(test.errors.written,
                HasSubstr("Stop node (pid 4711) on ports 3000 and 3001? [y/N] "));
    EXPECT_EQ(test.output.written, "[kill] :3000 terminated\n[kill] :3001 terminated\n");
}

TEST_F(KillCommandTest, HandlesPortsInOrderAndEndsWithTheGravestOutcome)
{
    listening({record(3000, 1, "a"), record(3001, 2, "b"), record(3002, 3, "c")});
    ends.results = {{2, KillResultCode::PermissionDenied}};
    EXPECT_EQ(kill({3002, 9, 3001, 3000}, true), ExitCode::NotPermitted);
    EXPECT_THAT(ends.ended, ElementsAre(3, 2, 1));
    EXPECT_EQ(test.output.written, "[kill] :3002 terminated\n"
                                   "[kill] :3001 permission denied\n"
                                   "[kill] :3000 terminated\n");
    EXPECT_THAT(test.errors.written, HasSubstr("Nothing listens on port 9.\n"));
}

TEST_F(KillCommandTest, StopsTheProcessesThatItShowedAndNoOthers)
{
    listening({record(3000, 1, "a"), record(3001, 2, "b"), record(3002, 3, "c")});
    EXPECT_EQ(kill({3000, 3001, 3002}, true), ExitCode::Done);
    EXPECT_THAT(ends.ended, ElementsAre(1, 2, 3));
    EXPECT_THAT(ends.startsOfEnded, ElementsAre(100U, 100U, 100U));
}

TEST_F(KillCommandTest, EndsWithTheCodeOfEachResult)
{
    const std::vector<std::tuple<KillResultCode, ExitCode, std::string>> outcomes{
        {KillResultCode::Terminated, ExitCode::Done, "[kill] :3000 terminated\n"},
        {KillResultCode::ForceKilled, ExitCode::Done, "[kill] :3000 force-killed\n"},
        {KillResultCode::PermissionDenied, ExitCode::NotPermitted,
         "[kill] :3000 permission denied\n"},
        {KillResultCode::NotFound, ExitCode::NothingDone, "[kill] :3000 already gone\n"},
    };
    for (const auto &[result, code, line] : outcomes) {
        listening({record(3000, 4711, "node")});
        ends.results = {{4711, result}};
        test.output.written.clear();
        EXPECT_EQ(kill({3000}, true), code);
        EXPECT_EQ(test.output.written, line);
    }
}

TEST_F(KillCommandTest, TellsWhoHoldsThePortNow)
{
    listings.listings = {
        std::vector{record(3000, 4711, "node")},
        std::vector{record(3000, 4712, "node"), record(3000, 4712, "node"), record(3001, 5, "x")}};
    EXPECT_EQ(kill({3000}, true), ExitCode::PortTaken);
    EXPECT_EQ(test.output.written, "[kill] :3000 terminated\n");
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by node (pid 4712).\n"));
    EXPECT_THAT(test.errors.written, Not(HasSubstr("3001 is still")));
}

TEST_F(KillCommandTest, WaitsForThePortToBeReleased)
{
    release.atMost = std::chrono::seconds(30);
    listings.listings = {std::vector{record(3000, 4711, "node")},
                         std::vector{record(3000, 4712, "node")},
                         std::vector{record(3000, 4712, "node")}, std::vector<RawPortInfo>{}};
    EXPECT_EQ(kill({3000}, true), ExitCode::Done);
    EXPECT_THAT(test.errors.written, Not(HasSubstr("still held")));
    EXPECT_EQ(listings.asked, 4);
}

TEST_F(KillCommandTest, LeavesThePortToWhomItWasSharedWith)
{
    const RawPortInfo vite = record(3000, 4712, "vite");
    listings.listings = {std::vector{record(3000, 4711, "node"), vite}, std::vector{vite}};
    EXPECT_EQ(run({.ports = {}, .pids = {4711}, .yes = true}), ExitCode::Done);
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by vite (pid 4712).\n"));
    EXPECT_EQ(listings.asked, 2);
}

TEST_F(KillCommandTest, FindsThePortTakenByTheSocketOfTheStoppedProcess)
{
    // The memory tells the sockets apart, which are equal in all else once one process owns both.
    listings.socket = [](const RawPortInfo &record) { return record.memoryBytes; };
    const auto listener = [](std::int64_t pid, std::uint64_t socket) {
        RawPortInfo made = record(3000, pid, "node");
        made.memoryBytes = socket;
        return made;
    };
    listings.listings = {std::vector{listener(4711, 1), listener(4712, 2)},
                         std::vector{listener(4712, 1), listener(4712, 2)}};
    EXPECT_EQ(run({.ports = {}, .pids = {4711}, .yes = true}), ExitCode::PortTaken);
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by node (pid 4712).\n"));
}

TEST_F(KillCommandTest, FindsThePortTakenByADescendantOfTheStoppedProcess)
{
    const RawPortInfo worker = record(3000, 4713, "worker");
    ends.ancestry = {{4713, {{.pid = 4712}, {.pid = 4711}, {.pid = 1}}}};
    listings.listings = {std::vector{record(3000, 4711, "node"), worker}, std::vector{worker}};
    EXPECT_EQ(run({.ports = {}, .pids = {4711}, .yes = true}), ExitCode::PortTaken);
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by worker (pid 4713).\n"));
}

TEST_F(KillCommandTest, LeavesThePortToADescendantOfAProcessThatWasNotStopped)
{
    const RawPortInfo parent = record(3000, 4711, "node");
    const RawPortInfo worker = record(3000, 4712, "worker");
    ends.ancestry = {{4712, {{.pid = 4711}}}};
    ends.results = {{4711, KillResultCode::PermissionDenied}};
    listings.listings = {std::vector{parent, worker, record(3000, 4713, "vite")},
                         std::vector{parent, worker}};
    EXPECT_EQ(run({.ports = {}, .pids = {4711, 4713}, .yes = true}), ExitCode::NotPermitted);
    EXPECT_THAT(ends.ended, ElementsAre(4711, 4713));
}

TEST_F(KillCommandTest, FindsThePortTakenByANewSocketOfAnEarlierHolder)
{
    // The memory tells the sockets apart.
    listings.socket = [](const RawPortInfo &record) { return record.memoryBytes; };
    RawPortInfo vite = record(3000, 4712, "vite");
    vite.memoryBytes = 1;
    RawPortInfo reopened = vite;
    reopened.memoryBytes = 2;
    listings.listings = {std::vector{record(3000, 4711, "node"), vite}, std::vector{reopened}};
    EXPECT_EQ(run({.ports = {}, .pids = {4711}, .yes = true}), ExitCode::PortTaken);
}

TEST_F(KillCommandTest, FindsThePortTakenByAServerThatItsParentHasStartedAgain)
{
    ends.ancestry = {{4711, {{.pid = 1}}}};
    listings.listings = {std::vector{record(3000, 4711, "node")}, std::vector<RawPortInfo>{},
                         std::vector{record(3000, 4712, "node")}};
    EXPECT_EQ(kill({3000}, true), ExitCode::PortTaken);
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by node (pid 4712).\n"));
}

TEST_F(KillCommandTest, ListsOnceMoreOnlyWhereTheParentMayStartTheServerAgain)
{
    for (const auto &[pid, above] : std::map<std::int32_t, std::vector<Ancestor>>{
             {4711, {}}, {4712, {{.pid = 9, .isShell = true, .sharesGroup = false}, {.pid = 1}}}}) {
        ends.ancestry = {{pid, above}};
        listening({record(3000, pid, "node")});
        listings.asked = 0;
        EXPECT_EQ(kill({3000}, true), ExitCode::Done);
        EXPECT_EQ(listings.asked, 2);
    }
}

TEST_F(KillCommandTest, TakesTheShellOfAScriptForAParentThatMayStartTheServerAgain)
{
    ends.ancestry = {{4711, {{.pid = 9, .isShell = true, .sharesGroup = true}, {.pid = 1}}}};
    listening({record(3000, 4711, "node")});
    EXPECT_EQ(kill({3000}, true), ExitCode::Done);
    EXPECT_EQ(listings.asked, 3);
}

TEST_F(KillCommandTest, FailsWhenItCannotSeeWhetherThePortIsFree)
{
    listings.listings = {std::vector{record(3000, 4711, "node")},
                         ListingError{.code = EMFILE, .message = "no descriptors left"}};
    EXPECT_EQ(kill({3000}, true), ExitCode::Failed);
    EXPECT_THAT(test.errors.written, EndsWith("tarnwickctl: no descriptors left\n"));
}

TEST_F(KillCommandTest, SaysThatAProcessDoesNotEnd)
{
    listening({record(3000, 4711, "node")});
    ends.results = {{4711, KillError{.code = ETIMEDOUT, .message = "has not ended"}}};
    EXPECT_EQ(kill({3000}, true), ExitCode::NotEnded);
    EXPECT_EQ(test.output.written, "");
    EXPECT_THAT(test.errors.written,
                EndsWith("tarnwickctl: node (pid 4711) was sent SIGKILL and has not ended.\n"));
}

TEST_F(KillCommandTest, SaysWhyAProcessCouldNotBeStopped)
{
    listening({record(3000, 4711, "node")});
    ends.results = {{4711, KillError{.code = EMFILE, .message = "no descriptors left"}}};
    EXPECT_EQ(kill({3000}, true), ExitCode::Failed);
    EXPECT_THAT(test.errors.written,
                EndsWith("tarnwickctl: node (pid 4711) was not stopped: no descriptors left.\n"));
}

TEST_F(KillCommandTest, LooksOnlyAgainWhenSomethingWasStopped)
{
    listening({record(3000, 4711, "node")});
    test.input.lines = {"n"};
    EXPECT_EQ(kill({3000}), ExitCode::NothingDone);
    EXPECT_EQ(listings.asked, 1);
}

TEST_F(KillCommandTest, FailsWithTheReasonOfTheListing)
{
    listings.listings = {ListingError{.code = 1, .message = "no sockets"}};
    EXPECT_EQ(kill({3000}, true), ExitCode::Failed);
    EXPECT_EQ(test.errors.written, "tarnwickctl: no sockets\n");
}

TEST_F(KillCommandTest, ShowsAHostileNameHarmlessly)
{
    RawPortInfo hostile = record(3000, 4711, "x\x1b[2A\n(pid 1)\u202E");
    hostile.arguments = {"\r\x1b[K"};
    listening({hostile});
    test.input.lines = {"n"};
    EXPECT_EQ(kill({3000}), ExitCode::NothingDone);
    EXPECT_THAT(test.errors.written,
                HasSubstr("Stop x^[[2A^J(pid 1)\uFFFD (pid 4711) on port 3000?"));
    EXPECT_THAT(test.errors.written, Not(HasSubstr("\x1b")));
}

TEST_F(KillCommandTest, FailsWhenTheOutcomeCannotBeWritten)
{
    listening({record(3000, 4711, "node")});
    test.output.error = std::make_error_code(std::errc::io_error);
    EXPECT_EQ(kill({3000}, true), ExitCode::Failed);
    EXPECT_THAT(ends.ended, ElementsAre(4711));
}

TEST_F(KillCommandTest, SaysWhatKeepsAProcessFromBeingStopped)
{
    listening({record(4711, 812, "dbus-daemon", "/usr/bin/dbus-daemon")});
    ends.results = {{812, KillResultCode::PermissionDenied}};
    ends.protections = {{812, "the message bus of the session"}};
    EXPECT_EQ(run({.ports = {4711}, .pids = {}, .yes = true, .system = true}),
              ExitCode::NotPermitted);
    EXPECT_THAT(test.errors.written,
                HasSubstr("Not allowed to stop dbus-daemon (pid 812): it is the message bus of the"
                          " session.\n"));
}

TEST_F(KillCommandTest, NeverStopsAForwarderInPlaceOfWhatIsBehindIt)
{
    ends.forwardings = {
        {812,
         {.forwarder = "docker-proxy",
          .pid = 4711,
          .port = 5432,
          .processName = "postgres",
          .command = "postgres",
          .container = {.id = "3f2a9c1d" + std::string(56, '0'), .runtime = "docker"}}}};
    for (const bool system : {false, true}) {
        test.errors.written.clear();
        listening({systemRecord(8080, 812, "docker-proxy")});
        EXPECT_EQ(run({.ports = {8080}, .pids = {}, .yes = true, .system = system}),
                  ExitCode::NotPermitted);
        EXPECT_EQ(test.errors.written,
                  "tarnwickctl: docker-proxy (pid 812) forwards port 8080 to postgres in container "
                  "3f2a9c1d. To "
                  "stop it: docker stop 3f2a9c1d\n");
    }
    EXPECT_THAT(ends.ended, IsEmpty());
}

TEST_F(KillCommandTest, SaysWhatHasStartedTheServerAgainAndWhatStopsItForGood)
{
    ends.ancestry = {{4711, {{.pid = 9}, {.pid = 1}}}};
    ends.restarters = {{4712, {Supervisor::Kind::Watcher, "nodemon", 9, "kill 9"}}};
    listings.listings = {std::vector{record(3000, 4711, "node")}, std::vector<RawPortInfo>{},
                         std::vector{record(3000, 4712, "node")}};
    EXPECT_EQ(kill({3000}, true), ExitCode::PortTaken);
    EXPECT_THAT(test.errors.written,
                EndsWith("Port 3000 is still held by node (pid 4712).\n"
                         "nodemon (pid 9) has started it again. To stop it for good: kill 9\n"));
}

TEST_F(KillCommandTest, SaysNothingOfARestartWhereAWorkerHasInheritedTheSocket)
{
    ends.ancestry = {{4711, {{.pid = 9}, {.pid = 1}}}};
    ends.restarters = {{4712, {Supervisor::Kind::Watcher, "nodemon", 9, "kill 9"}}};
    listings.socket = [](const RawPortInfo &) { return std::uint64_t{7}; };
    listings.listings = {std::vector{record(3000, 4711, "node")},
                         std::vector{record(3000, 4712, "node")}};
    EXPECT_EQ(kill({3000}, true), ExitCode::PortTaken);
    EXPECT_THAT(test.errors.written, EndsWith("Port 3000 is still held by node (pid 4712).\n"));
}

TEST_F(KillCommandTest, WaitsForTheSupervisorToStartTheServerAgain)
{
    ends.supervisors = {
        {4711, {Supervisor::Kind::UserUnit, "shop.service", 0, "systemctl --user stop shop"}}};
    listening({record(3000, 4711, "node")});
    EXPECT_EQ(kill({3000}, true), ExitCode::Done);
    EXPECT_EQ(listings.asked, 3);
    ends.supervisors = {{4711, {Supervisor::Kind::Shell, "bash", 9, "kill 9"}}};
    listening({record(3000, 4711, "node")});
    listings.asked = 0;
    EXPECT_EQ(kill({3000}, true), ExitCode::Done);
    EXPECT_EQ(listings.asked, 2) << "most shells that run something run it once";
}

} // namespace Tarnwick
