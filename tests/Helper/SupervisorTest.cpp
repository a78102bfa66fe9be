// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/Supervisor.h"

#include "Helper/ProcessAncestry.h"
#include "Helper/linux/ProcessManagers.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using Kind = Supervisor::Kind;

struct Case
{
    const char *name;
    ParentProcess parent;
    std::vector<std::string> environment;
    Kind kind;
    const char *supervisor;
    const char *stopCommand;
};

class ProcessManagersTest : public ::testing::TestWithParam<Case>
{
};

TEST_P(ProcessManagersTest, AreKnownWithTheCommandThatStopsTheirServer)
{
    const Case &tested = GetParam();
    const std::optional<Supervisor> found =
        ProcessManagers::recognise(tested.parent, tested.environment);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, tested.kind);
    EXPECT_EQ(found->name, tested.supervisor);
    EXPECT_EQ(found->pid, 9);
    EXPECT_EQ(found->stopCommand, tested.stopCommand);
}

/// Their command lines as the programs have them.
INSTANTIATE_TEST_SUITE_P(
    Programs, ProcessManagersTest,
    ::testing::Values(
        Case{"Pm2",
             {9, "PM2 v5.3.0: God", {"PM2 v5.3.0: God Daemon (/home/ada/.pm2)"}, "/"},
             {"PATH=/bin", "name=shop", "pm_id=0"},
             Kind::ProcessManager,
             "pm2",
             "pm2 stop shop"},
        Case{"Pm2ByNumber",
             {9, "PM2 v5.3.0: God", {"PM2 v5.3.0: God Daemon (/root/.pm2)"}, "/"},
             {"pm_id=3"},
             Kind::ProcessManager,
             "pm2",
             "pm2 stop 3"},
        Case{"Pm2Unreadable",
             {9, "PM2 v5.3.0: God", {"PM2 v5.3.0: God Daemon (/root/.pm2)"}, "/"},
             {},
             Kind::ProcessManager,
             "pm2",
             ""},
        Case{"Supervisord",
             {9,
              "supervisord",
              {"/usr/bin/python3", "/usr/bin/supervisord", "-c", "/etc/s.conf"},
              "/"},
             {"SUPERVISOR_PROCESS_NAME=web_0", "SUPERVISOR_GROUP_NAME=shop"},
             Kind::ProcessManager,
             "supervisord",
             "supervisorctl stop shop:web_0"},
        Case{"SupervisordWithoutGroup",
             {9, "supervisord", {"/usr/bin/python3", "/usr/bin/supervisord"}, "/"},
             {"SUPERVISOR_PROCESS_NAME=shop", "SUPERVISOR_GROUP_NAME=shop"},
             Kind::ProcessManager,
             "supervisord",
             "supervisorctl stop shop"},
        Case{"Runit",
             {9, "runsv", {"runsv", "nginx"}, "/etc/sv/nginx"},
             {},
             Kind::ProcessManager,
             "runit",
             "sv down /etc/sv/nginx"},
        Case{"S6",
             {9, "s6-supervise", {"s6-supervise", "web"}, "/run/service/my web"},
             {},
             Kind::ProcessManager,
             "s6",
             "s6-svc -d '/run/service/my web'"},
        Case{"OpenRc",
             {9,
              "supervise-daemo",
              {"supervise-daemon", "nginx", "--start", "/usr/sbin/nginx"},
              "/"},
             {},
             Kind::ProcessManager,
             "supervise-daemon",
             "rc-service nginx stop"},
        Case{"Nodemon",
             {9, "node", {"node", "/home/ada/shop/node_modules/.bin/nodemon", "server.js"}, "/"},
             {},
             Kind::Watcher,
             "nodemon",
             "kill 9"},
        Case{"NodeWatch",
             {9, "node", {"node", "--watch", "server.js"}, "/"},
             {},
             Kind::Watcher,
             "node --watch",
             "kill 9"},
        Case{"CargoWatch",
             {9, "cargo-watch", {"/home/ada/.cargo/bin/cargo-watch", "watch", "-x", "run"}, "/"},
             {},
             Kind::Watcher,
             "cargo-watch",
             "kill 9"},
        Case{"Foreman",
             {9, "ruby", {"foreman: master"}, "/"},
             {},
             Kind::Watcher,
             "foreman",
             "kill 9"},
        Case{"Honcho",
             {9, "honcho", {"/usr/bin/python3", "-m", "honcho", "start"}, "/"},
             {},
             Kind::Watcher,
             "honcho",
             "kill 9"},
        Case{"Overmind",
             {9, "overmind", {"overmind", "start"}, "/"},
             {},
             Kind::Watcher,
             "overmind",
             "overmind quit"},
        Case{"DotnetWatch",
             {9, "dotnet", {"dotnet", "watch", "run"}, "/"},
             {},
             Kind::Watcher,
             "dotnet --watch",
             "kill 9"},
        Case{"Script", {9, "bash", {"bash", "run.sh"}, "/"}, {}, Kind::Shell, "bash", "kill 9"},
        Case{"ScriptByName",
             {9, "run.sh", {"/bin/bash", "./run.sh"}, "/"},
             {},
             Kind::Shell,
             "bash",
             "kill 9"},
        Case{"Command",
             {9, "sh", {"sh", "-c", "while :; do ./server; done"}, "/"},
             {},
             Kind::Shell,
             "sh",
             "kill 9"}),
    [](const auto &tested) { return tested.param.name; });

TEST(ProcessManagersNoneTest, AreNoOthers)
{
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"-bash"},
                                               {"bash", "--login"},
                                               {"node", "server.js"},
                                               {"npm run dev"},
                                               {"python3", "-m", "http.server"},
                                               {"/usr/lib/systemd/systemd", "--user"},
                                               {"vim", "supervisord"}}) {
        const ParentProcess parent{9, arguments.empty() ? "x" : "bash", arguments, "/"};
        EXPECT_EQ(ProcessManagers::recognise(parent, {}), std::nullopt)
            << (arguments.empty() ? "" : arguments.front());
    }
}

TEST(SupervisorTest, IsTheNearestAncestorThatStartsAgain)
{
    const TemporaryCopy copies;
    Puppet loop(copies.copy(Puppet::program(), "runsv"), {"runsv", "shop"});
    loop.changeDirectory(copies.folder());
    Puppet server = loop.fork();
    server.exec(Puppet::program(), {"server"});
    const std::optional<Supervisor> found = supervisorOf(server.pid());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->name, "runit");
    EXPECT_EQ(found->pid, loop.pid());
    EXPECT_EQ(found->stopCommand, "sv down " + copies.folder().string());
}

TEST(SupervisorTest, OfARestartIsAProcessThatStartedBoth)
{
    Puppet parent(Puppet::program(), {"keeper"});
    Puppet second = parent.fork();
    const std::vector<std::int32_t> former{parent.pid(), ::getpid()};
    const std::optional<Supervisor> found = restarterOf(second.pid(), former);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, Kind::Process);
    EXPECT_EQ(found->pid, parent.pid());
    EXPECT_EQ(found->stopCommand, "kill " + std::to_string(parent.pid()));
    Puppet other;
    EXPECT_NE(restarterOf(other.pid(), std::vector<std::int32_t>{parent.pid()})
                  .value_or(Supervisor{})
                  .pid,
              parent.pid());
}

/// A service of this user's service manager, as far as control groups and files tell.
class SupervisedUnitTest : public ::testing::Test
{
protected:
    /// What supervises a server in @p unit, for which the manager has @p text.
    [[nodiscard]] static std::optional<Supervisor> ofServerIn(const std::string &unit,
                                                              const std::string &text)
    {
        const auto slice = ControlGroup::make("supervised.slice");
        const auto manager =
            slice ? slice->makeBelow("user@" + std::to_string(::geteuid()) + ".service")
                  : std::nullopt;
        const auto service = manager ? manager->makeBelow(unit) : std::nullopt;
        Puppet server;
        if (!service || !service->take(server.pid())) {
            return Supervisor{Kind::Process, "not to be had"};
        }
        const char *const home = ::getenv("HOME");
        const std::filesystem::path folder =
            std::filesystem::path(home == nullptr ? "/nonexistent" : home) / ".config/systemd/user";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / unit) << text;
        const std::optional<Supervisor> found = supervisorOf(server.pid());
        std::filesystem::remove(folder / unit);
        return found;
    }
};

TEST_F(SupervisedUnitTest, IsStoppedThroughItsManager)
{
    const auto found = ofServerIn("shop.service", "[Service]\nRestart=always\n");
    if (found && found->name == "not to be had") {
        GTEST_SKIP() << "no control group to be had";
    }
    ASSERT_TRUE(found);
    EXPECT_EQ(found->kind, Kind::UserUnit);
    EXPECT_EQ(found->name, "shop.service");
    EXPECT_EQ(found->stopCommand, "systemctl --user stop shop.service");
}

TEST_F(SupervisedUnitTest, DoesNotSuperviseWhereItIsNotRestarted)
{
    const auto found = ofServerIn("shop.service", "[Service]\nRestart=no\n");
    if (found && found->name == "not to be had") {
        GTEST_SKIP() << "no control group to be had";
    }
    EXPECT_FALSE(found && found->kind == Kind::UserUnit);
    const auto scope = ofServerIn("app-shop-4711.scope", "");
    EXPECT_FALSE(scope && scope->kind == Kind::UserUnit) << "a scope is never restarted";
}

} // namespace
} // namespace Tarnwick
