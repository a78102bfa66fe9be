// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FreePlanner.h"

#include "tests/CommandLine/CommandFixture.h"
#include "tests/CommandLine/ServerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarnwick {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Process 200 listens on port 3000; a person has typed its command into shell 100.
struct FreePlannerTest : testing::Test
{
    PreparedProcesses processes;
    NotedEnds ends;
    std::vector<RawPortInfo> records{record(3000, 200, "node")};
    std::vector<ListenerDetails> details{ListenerDetails{}};
    FreePlanner::Holders holders;
    FreePlanner::Rights rights{.userId = PreparedProcesses::user};

    void listen(std::int64_t port, std::int64_t pid)
    {
        records.push_back(record(port, pid, "other"));
        details.emplace_back();
    }

    std::vector<FreePlan> plans(const std::vector<std::int64_t> &ports = {3000})
    {
        const std::vector<Listener> listeners = listenersFrom(records, {}, details);
        const ProcessTree tree = processes.tree();
        return FreePlanner(listeners, tree, processes, ends, rights).plans(ports, holders);
    }

    FreePlan plan()
    {
        const std::vector<FreePlan> found = plans();
        return found.empty() ? FreePlan{} : found.front();
    }

    /// "runner 150", in the order of the plan.
    static std::vector<std::string> steps(const FreePlan &plan)
    {
        std::vector<std::string> found;
        for (const FreePlan::Step &step : plan.steps) {
            found.push_back(std::string(name(step.part)) + " " + std::to_string(step.process.pid));
        }
        return found;
    }

    /// npm, its shell and the server.
    void runByNpm()
    {
        processes.add(150, 100, "npm run dev");
        processes.add(151, 150, "sh");
        processes.roles[151] = LaunchRole::ScriptShell;
        processes.add(200, 151, "node");
    }

    /// As setsid(2) does.
    void startSession(std::int32_t pid, std::int32_t parent)
    {
        TreeProcess &process = processes.add(pid, parent, "daemon");
        process.session = pid;
        process.group = pid;
    }

    void supervise(Supervisor::Kind kind)
    {
        processes.add(200, 1, "node");
        processes.supervisors[200] = {.kind = kind, .name = "shop", .stopCommand = "stop shop"};
    }
};

} // namespace

TEST_F(FreePlannerTest, EndsTheOwnerAndNotTheShellOfThePerson)
{
    processes.add(200, 100, "node");
    const FreePlan found = plan();
    EXPECT_EQ(found.refusal, "");
    EXPECT_THAT(steps(found), ElementsAre("owner 200"));
    EXPECT_EQ(found.steps.front().command, "run 200");
    EXPECT_FALSE(found.mayReturn);
}

TEST_F(FreePlannerTest, EndsTheRunnersFromTheTop)
{
    runByNpm();
    EXPECT_THAT(steps(plan()), ElementsAre("runner 150", "runner 151", "owner 200"));
}

TEST_F(FreePlannerTest, SparesARunnerOfSeveralProcesses)
{
    runByNpm();
    processes.add(160, 150, "tsc");
    const FreePlan found = plan();
    EXPECT_THAT(steps(found), ElementsAre("runner 151", "owner 200"));
    EXPECT_THAT(found.spared, ElementsAre("npm run dev (pid 150) has other children"));
    EXPECT_TRUE(found.mayReturn);
}

TEST_F(FreePlannerTest, SparesTheOtherServersOfAScript)
{
    processes.add(150, 100, "bash");
    processes.roles[150] = LaunchRole::ScriptShell;
    for (const std::int32_t pid : {200, 201, 202}) {
        processes.add(pid, 150, "python3");
    }
    listen(3001, 201);
    listen(3002, 202);
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, SparesTheServersOfAScriptThatBecameTheOwner)
{
    processes.add(200, 100, "node");
    processes.add(201, 200, "python3");
    processes.add(202, 201, "worker");
    listen(3001, 201);
    const FreePlan found = plan();
    EXPECT_THAT(steps(found), ElementsAre("owner 200"));
    EXPECT_THAT(found.spared, ElementsAre("python3 (pid 201) listens on other ports"));
}

TEST_F(FreePlannerTest, EndsTheDescendantsAfterTheOwner)
{
    processes.add(200, 100, "node");
    processes.add(201, 200, "worker");
    processes.add(202, 200, "worker");
    processes.add(203, 201, "esbuild");
    processes.at(202).hasEnded = true;
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200", "worker 201", "worker 203"));
}

TEST_F(FreePlannerTest, SparesWhatHasLeftTheSession)
{
    processes.add(200, 100, "node");
    startSession(201, 200);
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, EndsADescendantThatHoldsTheSocketInAnotherSession)
{
    processes.add(200, 100, "node");
    startSession(201, 200);
    holders[3000] = {200, 201};
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200", "member 201"));
}

TEST_F(FreePlannerTest, SparesAStrangerThatHoldsTheSocket)
{
    processes.add(200, 100, "node");
    processes.add(300, 1, "proxy");
    holders[3000] = {200, 300};
    const FreePlan found = plan();
    EXPECT_THAT(steps(found), ElementsAre("owner 200"));
    EXPECT_THAT(found.spared, ElementsAre("proxy (pid 300) holds the socket as well"));
}

TEST_F(FreePlannerTest, EndsTheOrphansOfItsGroup)
{
    processes.add(200, 100, "node");
    processes.add(201, 1, "worker").group = 200;
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200", "member 201"));
}

TEST_F(FreePlannerTest, SparesTheRestOfAGroupThatOthersShare)
{
    processes.add(200, 100, "node");
    processes.add(201, 1, "worker").group = 200;
    // Behind a pipe of the same command line.
    processes.add(202, 100, "tee").group = 200;
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, SparesTheGroupOfTheShellThatAPersonTypesInto)
{
    // Without job control.
    processes.add(200, 100, "node").group = 100;
    processes.add(201, 1, "worker").group = 100;
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, SparesShellsBelowTheServer)
{
    processes.add(200, 100, "ttyd");
    processes.add(201, 200, "bash");
    processes.roles[201] = LaunchRole::InteractiveShell;
    processes.add(202, 201, "vim");
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, SparesAnEditorThatStartedTheServer)
{
    processes.add(150, 1, "code");
    processes.roles[150] = LaunchRole::Host;
    processes.add(200, 150, "node");
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, SparesAParentThatHasItsOwnOutputOrGroup)
{
    processes.add(150, 1, "builder");
    processes.add(200, 150, "node");
    EXPECT_THAT(steps(plan()), ElementsAre("runner 150", "owner 200"));
    processes.ownOutput.insert(150);
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
    processes.ownOutput.clear();
    processes.at(200).group = 200;
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, EndsAWatcherWhateverItsOutputIs)
{
    processes.add(150, 1, "nodemon");
    processes.ownOutput.insert(150);
    processes.add(200, 150, "node");
    processes.supervisors[200] = {.kind = Supervisor::Kind::Watcher,
                                  .name = "nodemon",
                                  .pid = 150,
                                  .stopCommand = "kill 150"};
    EXPECT_THAT(steps(plan()), ElementsAre("runner 150", "owner 200"));
}

TEST_F(FreePlannerTest, EndsAScriptInAnotherGroup)
{
    processes.add(150, 100, "bash");
    processes.roles[150] = LaunchRole::ScriptShell;
    processes.ownOutput.insert(150);
    processes.add(200, 150, "node").group = 200;
    EXPECT_THAT(steps(plan()), ElementsAre("runner 150", "owner 200"));
}

TEST_F(FreePlannerTest, SparesARunnerThatListensItself)
{
    runByNpm();
    listen(9229, 150);
    const FreePlan found = plan();
    EXPECT_THAT(steps(found), ElementsAre("runner 151", "owner 200"));
    EXPECT_THAT(found.spared, ElementsAre("npm run dev (pid 150) listens on other ports"));
}

TEST_F(FreePlannerTest, SparesARunnerThatTheSessionLivesOn)
{
    runByNpm();
    ends.protections[150] = "the display server of the session";
    EXPECT_THAT(steps(plan()), ElementsAre("runner 151", "owner 200"));
}

TEST_F(FreePlannerTest, RefusesWhatRunsThisCommand)
{
    processes.add(200, 1, "code-server");
    processes.at(100).parent = 200;
    EXPECT_EQ(plan().refusal, "node (pid 200) runs this command.");
    EXPECT_THAT(plan().steps, IsEmpty());
}

TEST_F(FreePlannerTest, SparesAScriptThatRunsThisCommand)
{
    processes.add(150, 100, "bash");
    processes.roles[150] = LaunchRole::ScriptShell;
    processes.at(PreparedProcesses::ownPid).parent = 150;
    processes.add(200, 150, "node");
    EXPECT_THAT(steps(plan()), ElementsAre("owner 200"));
}

TEST_F(FreePlannerTest, NamesWhatStopsASupervisedServer)
{
    using Kind = Supervisor::Kind;
    supervise(Kind::SystemUnit);
    for (const Kind kind :
         {Kind::SystemUnit, Kind::UserUnit, Kind::Container, Kind::ProcessManager}) {
        processes.supervisors[200].kind = kind;
        const FreePlan found = plan();
        EXPECT_EQ(found.refusal, "node (pid 200) is run by shop; 'stop shop' stops it.");
        EXPECT_THAT(found.steps, IsEmpty());
    }
    for (const Kind kind : {Kind::Watcher, Kind::Shell, Kind::Process}) {
        processes.supervisors[200].kind = kind;
        EXPECT_EQ(plan().refusal, "");
    }
}

TEST_F(FreePlannerTest, TakesNoUnitForTheServersThatThisCommandIsInAsWell)
{
    supervise(Supervisor::Kind::UserUnit);
    processes.supervisors[PreparedProcesses::ownPid] = processes.supervisors[200];
    EXPECT_EQ(plan().refusal, "");
}

TEST_F(FreePlannerTest, TakesNoUnitOfATerminalForTheServers)
{
    supervise(Supervisor::Kind::UserUnit);
    processes.at(200).hasTerminal = true;
    EXPECT_EQ(plan().refusal, "");
}

TEST_F(FreePlannerTest, RefusesAForwarder)
{
    processes.add(200, 1, "docker-proxy");
    ends.forwardings[200] = {.forwarder = "docker-proxy",
                             .container = {.id = "3f2a9c1d", .runtime = "docker"}};
    EXPECT_THAT(plan().refusal,
                AllOf(HasSubstr("forwards port 3000"), HasSubstr("docker stop 3f2a9c1d")));
}

TEST_F(FreePlannerTest, NamesTheSocketUnitOfAServiceManager)
{
    processes.add(200, 1, "systemd");
    ends.protections[200] = "a service manager";
    details[0].socketUnit = "shop.socket";
    details[0].isUserUnit = true;
    EXPECT_EQ(plan().refusal, "node (pid 200) is a service manager. It listens for shop.socket; "
                              "'systemctl --user stop shop.socket' frees the port.");
}

TEST_F(FreePlannerTest, RefusesTheSystemTierUnlessAskedTo)
{
    processes.add(200, 100, "sshd");
    records = {systemRecord(3000, 200, "sshd")};
    EXPECT_THAT(plan().refusal, HasSubstr("--system is needed"));
    rights.system = true;
    EXPECT_EQ(plan().refusal, "");
}

TEST_F(FreePlannerTest, RefusesAnotherUsersServerWithoutPrivilege)
{
    processes.add(200, 1, "node").userId = 33;
    EXPECT_EQ(plan().refusal, "node (pid 200) belongs to another user; sudo is needed to stop it.");
    rights.userId = 0;
    EXPECT_EQ(plan().refusal, "");
}

TEST_F(FreePlannerTest, RefusesAnUnknownOwner)
{
    records = {record(3000, 0, "unknown", "")};
    EXPECT_EQ(plan().refusal, "The owner of port 3000 is unknown and cannot be stopped. Running as "
                              "root may help.");
}

TEST_F(FreePlannerTest, PlansEachOwnerOnceWithAllItsPorts)
{
    processes.add(200, 100, "node");
    processes.add(201, 100, "node");
    listen(3000, 201);
    listen(3001, 200);
    listen(9229, 200);
    const std::vector<FreePlan> found = plans({3001, 3000});
    ASSERT_THAT(found, SizeIs(2));
    EXPECT_THAT(found[0].ports, ElementsAre(3000, 3001));
    EXPECT_THAT(found[0].otherPorts, ElementsAre(9229));
    EXPECT_EQ(found[1].owner.pid, 201);
    EXPECT_THAT(found[1].ports, ElementsAre(3000));
}

TEST_F(FreePlannerTest, NamesEachAddressOnce)
{
    processes.add(200, 100, "node");
    const ListenAddress loopback{.bytes = {127, 0, 0, 1}};
    details[0].address = loopback;
    listen(3000, 200);
    details[1].address = loopback;
    EXPECT_THAT(plan().addresses, ElementsAre(loopback));
}

} // namespace Tarnwick
