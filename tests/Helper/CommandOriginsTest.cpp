// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/InventoryProcess.h"
#include "tests/Support/OtherUser.h"

#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

using Arguments = std::vector<std::string>;

/// Which command a listener is shown with, by the tree of processes that led to it.
class CommandOriginsTest : public InventoryFixture
{
protected:
    /// The first process of a job: what an interactive shell starts in a group of its own.
    [[nodiscard]] Puppet job(const Arguments &arguments) const
    {
        Puppet leader(program(arguments), arguments);
        leader.joinGroup(0);
        return leader;
    }

    [[nodiscard]] Puppet childOf(Puppet &parent, const Arguments &arguments) const
    {
        Puppet child = parent.fork();
        child.exec(program(arguments), arguments);
        parent.awaitRest();
        child.awaitRest();
        return child;
    }

    /// What the listener on @p port was started as, according to a warm and to a cold listing,
    /// which must agree; empty when that is its own command.
    [[nodiscard]] Arguments origin(int port)
    {
        Arguments warm = only(list(m_inventory), port).originArguments;
        EXPECT_EQ(only(coldList(), port).originArguments, warm) << "in a cold listing";
        return warm;
    }

    /// A puppet's program under the name that @p arguments begin with.
    [[nodiscard]] std::filesystem::path program(const Arguments &arguments) const
    {
        const std::string name = std::filesystem::path(arguments.front()).filename();
        const std::filesystem::path copied = m_copies.folder() / name;
        return std::filesystem::exists(copied) ? copied : m_copies.copy(Puppet::program(), name);
    }

    static inline const Arguments own{};

private:
    TemporaryCopy m_copies;
};

TEST_F(CommandOriginsTest, IsTheTopmostCommandOfTheJob)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet shell = childOf(npm, {"sh", "-c", "vite"});
    Puppet vite = childOf(shell, {"node", "vite"});
    const int port = vite.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
}

TEST_F(CommandOriginsTest, IsNeverAShellOrAWrapper)
{
    Puppet script = job({"bash", "start.sh"});
    Puppet timeout = childOf(script, {"timeout", "60", "python3", "-m", "http.server"});
    Puppet server = childOf(timeout, {"python3", "-m", "http.server"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), own);
}

TEST_F(CommandOriginsTest, IsFoundBelowAWrapperAndAShell)
{
    Puppet sudo = job({"sudo", "-u", "ann", "make", "serve"});
    Puppet make = childOf(sudo, {"make", "serve"});
    Puppet shell = childOf(make, {"sh", "-c", "node server.js"});
    Puppet server = childOf(shell, {"node", "server.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"make", "serve"}));
}

TEST_F(CommandOriginsTest, IsTheOwnCommandOfEachOfTwoServersThatOneCommandStarted)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet shell = childOf(npm, {"sh", "-c", "concurrently api web"});
    Puppet both = childOf(shell, {"node", "concurrently", "api", "web"});
    Puppet apiShell = childOf(both, {"sh", "-c", "node api.js"});
    Puppet api = childOf(apiShell, {"node", "api.js"});
    const int apiPort = api.listen().port;
    EXPECT_EQ(origin(apiPort), (Arguments{"npm", "run", "dev"})) << "the only one as yet";

    Puppet webShell = childOf(both, {"sh", "-c", "vite"});
    EXPECT_EQ(origin(apiPort), own);
    Puppet web = childOf(webShell, {"vite"});
    const int webPort = web.listen().port;
    EXPECT_EQ(origin(apiPort), own);
    EXPECT_EQ(origin(webPort), own);

    // Nobody reaps it: a zombie is no child any more.
    web.end();
    EXPECT_EQ(origin(apiPort), own) << "its shell still lives";
    webShell.end();
    EXPECT_EQ(origin(apiPort), (Arguments{"npm", "run", "dev"}));
}

TEST_F(CommandOriginsTest, IsTheCommandBelowTheLastFork)
{
    Puppet make = job({"make", "all"});
    Puppet npm = childOf(make, {"npm", "start"});
    Puppet compiler = childOf(make, {"tsc", "--watch"});
    Puppet server = childOf(npm, {"node", "server.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
}

TEST_F(CommandOriginsTest, IsNotAboveAShellWithTwoChildren)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet shell = childOf(npm, {"sh", "-c", "vite & tsc --watch"});
    Puppet server = childOf(shell, {"vite"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    Puppet compiler = childOf(shell, {"tsc", "--watch"});
    EXPECT_EQ(origin(port), own);
    compiler.end();
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
}

TEST_F(CommandOriginsTest, LeavesTheChildrenOfTheServerAside)
{
    Puppet npm = job({"npm", "start"});
    Puppet server = childOf(npm, {"node", "cluster.js"});
    const int port = server.listen().port;
    Puppet first = server.fork();
    Puppet second = server.fork();
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
}

TEST_F(CommandOriginsTest, DoesNotCountZombies)
{
    Puppet npm = job({"npm", "start"});
    static_cast<void>(npm.makeZombie());
    Puppet server = childOf(npm, {"node", "server.js"});
    static_cast<void>(npm.makeZombie());
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
}

TEST_F(CommandOriginsTest, IsTheOwnCommandOfADebuggersChild)
{
    for (const char *debugger : {"gdb", "strace", "lldb"}) {
        Puppet make = job({"make", "debug"});
        Puppet shell = childOf(make, {"sh", "-c", "debug"});
        Puppet tracer = childOf(shell, {debugger, "./server"});
        Puppet server = childOf(tracer, {"./server", "--port", "80"});
        const int port = server.listen().port;
        EXPECT_EQ(origin(port), own) << debugger;
    }
}

TEST_F(CommandOriginsTest, IsWhatAnEditorStarted)
{
    Puppet editor = job({"code", "."});
    Puppet npm = childOf(editor, {"npm", "run", "dev"});
    Puppet server = childOf(npm, {"vite"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    npm.exec(program({"nvim"}), {"nvim", "shop.js"});
    npm.awaitRest();
    EXPECT_EQ(origin(port), own);
}

TEST_F(CommandOriginsTest, IsTheOwnCommandOfAServerInAGroupOfItsOwn)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet server = childOf(npm, {"postgres", "-D", "data"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    server.startSession();
    server.awaitRest();
    EXPECT_EQ(origin(port), own);
}

TEST_F(CommandOriginsTest, IsNotAboveAProcessOfAnotherGroup)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet runner = childOf(npm, {"nodemon", "server.js"});
    Puppet server = childOf(runner, {"node", "server.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    runner.joinGroup(0);
    runner.awaitRest();
    EXPECT_EQ(origin(port), own);
    server.joinGroup(runner.pid());
    server.awaitRest();
    EXPECT_EQ(origin(port), (Arguments{"nodemon", "server.js"}));
    runner.joinGroup(npm.pid());
    runner.awaitRest();
    server.joinGroup(npm.pid());
    server.awaitRest();
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
}

TEST_F(CommandOriginsTest, IsTheOwnCommandOfEachOfTwoListenersOneBelowTheOther)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet supervisor = childOf(npm, {"node", "supervisor.js"});
    Puppet worker = childOf(supervisor, {"node", "worker.js"});
    const int workerPort = worker.listen().port;
    EXPECT_EQ(origin(workerPort), (Arguments{"npm", "run", "dev"}));

    const Puppet::Listener above = supervisor.listen();
    EXPECT_EQ(origin(workerPort), own) << "npm leads to both";
    EXPECT_EQ(origin(above.port), own) << "npm leads to both";

    worker.end();
    EXPECT_EQ(origin(above.port), (Arguments{"npm", "run", "dev"}));
}

TEST_F(CommandOriginsTest, CountsTheListenersOfItsGroupOnly)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet server = childOf(npm, {"node", "server.js"});
    const int port = server.listen().port;
    Puppet database = childOf(server, {"postgres"});
    database.startSession();
    database.awaitRest();
    const int databasePort = database.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    EXPECT_EQ(origin(databasePort), own);
}

TEST_F(CommandOriginsTest, FollowsAnAncestorThatBecomesAnotherProgram)
{
    Puppet runner = job({"npx", "serve"});
    Puppet server = childOf(runner, {"node", "serve.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npx", "serve"}));
    runner.exec(program({"serve"}), {"serve", "--open"});
    runner.awaitRest();
    EXPECT_EQ(origin(port), (Arguments{"serve", "--open"}));
    runner.exec(program({"bash"}), {"bash", "-i"});
    runner.awaitRest();
    EXPECT_EQ(origin(port), own);
    runner.exec(program({"npx"}), {"npx", "again"});
    runner.awaitRest();
    runner.retitle("npx title");
    runner.awaitRest();
    EXPECT_EQ(origin(port), Arguments{"npx title"});
}

TEST_F(CommandOriginsTest, FollowsTheServerItselfThatBecomesAnotherProgram)
{
    Puppet npm = job({"npm", "start"});
    Puppet server = childOf(npm, {"node", "first.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
    server.exec(program({"npm"}), {"npm", "start"});
    server.awaitRest();
    EXPECT_EQ(origin(port), own) << "they are the same";
    server.exec(program({"node"}), {"node", "second.js"});
    server.awaitRest();
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
}

TEST_F(CommandOriginsTest, IsWhatIsLeftOfTheJobWhenItsLeaderHasEnded)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet runner = childOf(npm, {"nodemon", "server.js"});
    Puppet server = childOf(runner, {"node", "server.js"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    npm.end();
    EXPECT_EQ(origin(port), (Arguments{"nodemon", "server.js"}));
    runner.end();
    EXPECT_EQ(origin(port), own);
}

TEST_F(CommandOriginsTest, IsTheOwnCommandOnceAnAncestorBetweenHasEnded)
{
    Puppet npm = job({"npm", "run", "dev"});
    Puppet shell = childOf(npm, {"sh", "-c", "vite"});
    Puppet server = childOf(shell, {"vite"});
    const int port = server.listen().port;
    EXPECT_EQ(origin(port), (Arguments{"npm", "run", "dev"}));
    shell.end(); // a zombie of npm's, which npm does not reap
    EXPECT_EQ(origin(port), own);
}

TEST_F(CommandOriginsTest, CountsAnOrphanThatAnAncestorAdopts)
{
    Puppet runner = job({"uv", "run", "app"});
    runner.adoptOrphans();
    runner.awaitRest();
    Puppet server = childOf(runner, {"uvicorn", "app"});
    const int port = server.listen().port;
    Puppet between = server.fork();
    Puppet orphan = between.fork();
    EXPECT_EQ(origin(port), (Arguments{"uv", "run", "app"}));
    between.end();
    const Puppet
        other; // lets the kernel's count of processes move, as everything on a machine does
    EXPECT_EQ(origin(port), own) << "the orphan is a second child of the runner";
    orphan.end();
    EXPECT_EQ(origin(port), (Arguments{"uv", "run", "app"}));
}

TEST_F(CommandOriginsTest, IsOfTheProcessThatTakesTheSocketOver)
{
    Puppet npm = job({"npm", "start"});
    npm.adoptOrphans();
    npm.awaitRest();
    Puppet master = childOf(npm, {"node", "master.js"});
    const int port = master.listen().port;
    Puppet worker = childOf(master, {"node", "worker.js"});
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
    master.end();
    EXPECT_EQ(owner(port), worker.pid());
    EXPECT_EQ(origin(port), (Arguments{"npm", "start"}));
}

TEST_F(CommandOriginsTest, IsShownOfAProcessThatMayNotBeLookedInto)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    // As below sudo: what is above the server belongs to root, and the listing to its user.
    Puppet npm = job({"npm", "start"});
    Puppet timeout = childOf(npm, {"timeout", "60", "node"});
    Puppet server = timeout.fork();
    server.changeUser(otherUser);
    server.exec(program({"node"}), {"node", "server.js"});
    server.awaitRest();
    const int port = server.listen().port;
    InventoryProcess inventory(becomeOtherUser);
    EXPECT_EQ(only(inventory.list(), port).originArguments, (Arguments{"npm", "start"}));
    EXPECT_EQ(only(inventory.list(), port).originArguments, (Arguments{"npm", "start"}));
}

} // namespace
} // namespace Tarnwick
