// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTree.h"

#include "Helper/LaunchRole.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryCopy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::int32_t> childrenOf(const ProcessTree &tree, std::int32_t pid)
{
    std::vector<std::int32_t> found;
    for (const TreeProcess *const child : tree.children(pid)) {
        found.push_back(child->pid());
    }
    return found;
}

} // namespace

TEST(ProcessTree, HasEachProcessInItsPlace)
{
    Puppet parent;
    Puppet child = parent.fork();
    child.startSession();
    child.rename("shop");
    const ProcessTree tree = ProcessTree::read();
    const TreeProcess *const found = tree.find(child.pid());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->parent, parent.pid());
    EXPECT_EQ(found->group, child.pid());
    EXPECT_EQ(found->session, child.pid());
    EXPECT_EQ(found->name, "shop");
    EXPECT_EQ(found->userId, ::geteuid());
    EXPECT_FALSE(found->hasTerminal);
    EXPECT_FALSE(found->hasEnded);
    EXPECT_THAT(childrenOf(tree, parent.pid()), ElementsAre(child.pid()));
}

TEST(ProcessTree, FollowsDescentToTheTop)
{
    Puppet parent;
    Puppet child = parent.fork();
    const Puppet grandchild = child.fork();
    const ProcessTree tree = ProcessTree::read();
    EXPECT_TRUE(tree.isBelow(grandchild.pid(), ::getpid()));
    EXPECT_TRUE(tree.isBelow(grandchild.pid(), grandchild.pid()));
    EXPECT_FALSE(tree.isBelow(parent.pid(), grandchild.pid()));
}

TEST(ProcessTree, TellsZombiesFromChildren)
{
    Puppet parent;
    const pid_t zombie = parent.makeZombie();
    const ProcessTree tree = ProcessTree::read();
    ASSERT_NE(tree.find(zombie), nullptr);
    EXPECT_TRUE(tree.find(zombie)->hasEnded);
    EXPECT_THAT(childrenOf(tree, parent.pid()), IsEmpty());
}

TEST(ProcessTree, TellsAControllingTerminal)
{
    PseudoTerminal terminal(80, 24);
    RunningProgram program({"sh", "-c", "echo ready; read line"}, terminal);
    ASSERT_TRUE(program.shows("ready"));
    const ProcessTree tree = ProcessTree::read();
    ASSERT_NE(tree.find(program.pid()), nullptr);
    EXPECT_TRUE(tree.find(program.pid())->hasTerminal);
}

TEST(ProcessTree, EndsWithACircleOfParents)
{
    // As where identifiers are used again while the processes are read.
    const ProcessTree tree(
        {{.identity = {.pid = 2}, .parent = 3}, {.identity = {.pid = 3}, .parent = 2}});
    EXPECT_TRUE(tree.isBelow(2, 3));
    EXPECT_FALSE(tree.isBelow(2, 4));
}

TEST(ProcessTree, TellsArgumentsAndSharedOutputs)
{
    RunningProgram program({"sh", "-c", "echo ready; exec sleep 60"});
    RunningProgram other({"sh", "-c", "echo ready; exec sleep 60"});
    ASSERT_TRUE(program.shows("ready") && other.shows("ready"));
    EXPECT_TRUE(shareOutput(program.pid(), program.pid()));
    EXPECT_FALSE(shareOutput(program.pid(), other.pid()));
    EXPECT_THAT(argumentsOf(0), IsEmpty());
    Puppet puppet(Puppet::program(), {"server", "a b", "\xFF"});
    EXPECT_THAT(argumentsOf(puppet.pid()), ElementsAre("server", "a b", "\uFFFD"));
}

TEST(LaunchRole, GoesByTheProgramAndItsArguments)
{
    const auto roleOf = [](const char *name, std::vector<std::string> arguments) {
        const TemporaryCopy copies;
        arguments.insert(arguments.begin(), name);
        const Puppet puppet(copies.copy(Puppet::program(), name), arguments);
        return launchRoleOf(puppet.pid());
    };
    EXPECT_EQ(roleOf("bash", {}), LaunchRole::InteractiveShell);
    EXPECT_EQ(roleOf("bash", {"run.sh"}), LaunchRole::ScriptShell);
    EXPECT_EQ(roleOf("sh", {"-c", "run"}), LaunchRole::ScriptShell);
    EXPECT_EQ(roleOf("timeout", {"60", "run"}), LaunchRole::Wrapper);
    EXPECT_EQ(roleOf("code", {"."}), LaunchRole::Host);
    EXPECT_EQ(roleOf("node", {"server.js"}), LaunchRole::Command);
}

} // namespace Tarnwick
