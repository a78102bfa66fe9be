// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "tests/Helper/InventoryFixture.h"
#include "tests/Helper/OtherUser.h"

#include <csignal>
#include <cstdint>
#include <limits>
#include <optional>

#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/sched.h>

namespace Tarnwick {
namespace {

class ProcessTerminatorTest : public InventoryFixture
{
protected:
    static constexpr ProcessTerminator::Patience impatient{
        .beforeForcing = std::chrono::milliseconds(100),
        .afterForcing = std::chrono::milliseconds(2000)};
    ProcessTerminator m_terminator{m_inventory, impatient};
};

/// Makes a process with the identifier of one that has ended (clone3(2), which wants privilege);
/// its end of the channel is closed when it should end.
std::optional<pid_t> reuseIdentifier(pid_t pid)
{
    clone_args arguments = {};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
    arguments.set_tid_size = 1;
    const long made = ::syscall(SYS_clone3, &arguments, sizeof(arguments));
    if (made == 0) {
        for (;;) {
            ::pause();
        }
    }
    return made > 0 ? std::optional(static_cast<pid_t>(made)) : std::nullopt;
}

TEST_F(ProcessTerminatorTest, EndsAListener)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(m_terminator.terminate(server.pid()), KillResultCode::Terminated);
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, EndsAListenerThatWasNotListedYet)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(m_terminator.terminate(server.pid()), KillResultCode::Terminated);
}

TEST_F(ProcessTerminatorTest, ForcesAListenerThatIgnoresTheRequest)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    EXPECT_EQ(m_terminator.terminate(server.pid()), KillResultCode::ForceKilled);
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, WaitsThreeSecondsBeforeItForces)
{
    EXPECT_EQ(ProcessTerminator::Patience{}.beforeForcing, std::chrono::seconds(3));
}

TEST_F(ProcessTerminatorTest, ContinuesAStoppedListenerSoThatItCanEnd)
{
    Puppet server;
    server.listen();
    server.stop();
    EXPECT_EQ(m_terminator.terminate(server.pid()), KillResultCode::Terminated);
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, FindsNothingWhereTheProcessIsAlreadyGone)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    const pid_t pid = server.pid();
    server.end();
    EXPECT_EQ(m_terminator.terminate(pid), KillResultCode::NotFound);
}

TEST_F(ProcessTerminatorTest, TakesAZombieForGone)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(m_terminator.terminate(server.makeZombie()), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, FindsNothingForWhatIsNoProcessIdentifier)
{
    EXPECT_EQ(m_terminator.terminate(0), KillResultCode::NotFound);
    EXPECT_EQ(m_terminator.terminate(-1), KillResultCode::NotFound);
    EXPECT_EQ(m_terminator.terminate(std::numeric_limits<std::int32_t>::min()),
              KillResultCode::NotFound);
    EXPECT_EQ(m_terminator.terminate(2147483647), KillResultCode::NotFound);
}

TEST_F(ProcessTerminatorTest, FindsNothingForAThread)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(m_terminator.terminate(server.startThread()), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesProcessOneItselfAndItsCaller)
{
    Puppet caller;
    caller.listen();
    EXPECT_EQ(m_terminator.terminate(1), KillResultCode::PermissionDenied);
    EXPECT_EQ(m_terminator.terminate(::getpid()), KillResultCode::PermissionDenied);
    EXPECT_EQ(m_terminator.terminate(caller.pid(), caller.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(caller.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesAProcessThatDoesNotListen)
{
    Puppet bystander;
    EXPECT_EQ(m_terminator.terminate(bystander.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(bystander.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesAWorkerThatIsNotTheOwner)
{
    Puppet master;
    master.listen();
    Puppet worker = master.fork();
    EXPECT_EQ(m_terminator.terminate(worker.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(worker.hasEnded());
}

TEST_F(ProcessTerminatorTest, TakesAListenerThatListensNoMoreForGone)
{
    Puppet server;
    const Puppet::Listener listener = server.listen();
    static_cast<void>(list(m_inventory));
    server.close(listener.descriptor);
    EXPECT_EQ(m_terminator.terminate(server.pid()), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, NeverTouchesAProcessThatGotTheIdentifierOfTheListener)
{
    auto server = std::make_optional<Puppet>();
    server->listen();
    static_cast<void>(list(m_inventory));
    const pid_t pid = server->pid();
    server.reset();
    const std::optional<pid_t> other = reuseIdentifier(pid);
    if (!other) {
        GTEST_SKIP() << "an identifier can be chosen only with privilege";
    }
    EXPECT_EQ(m_terminator.terminate(pid), KillResultCode::NotFound);
    EXPECT_EQ(::waitpid(pid, nullptr, WNOHANG), 0) << "the other process must still live";
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

TEST_F(ProcessTerminatorTest, IsDeniedAListenerOfAnotherUser)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    // In a session of its own nothing but the number in its command line leads to the server.
    Puppet server;
    const int port = server.listen().port;
    server.exec(Puppet::program(), {"server", "--port", std::to_string(port)});
    const int code = asOtherUser([&server] {
        ListenerInventory inventory;
        return static_cast<int>(ProcessTerminator(inventory).terminate(server.pid()));
    });
    EXPECT_EQ(code, static_cast<int>(KillResultCode::PermissionDenied));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, LeavesListingFreeWhileItWaits)
{
    Puppet server;
    const int port = server.listen().port;
    server.ignoreSignal(SIGTERM);
    ProcessTerminator::Started started = m_terminator.begin(server.pid());
    ASSERT_TRUE(std::holds_alternative<Termination>(started));
    auto &termination = std::get<Termination>(started);
    EXPECT_FALSE(termination.advance().has_value());
    EXPECT_EQ(only(list(m_inventory), port).pid, server.pid());
    std::optional<KillResultCode> result;
    while (!result) {
        result = termination.advance();
    }
    EXPECT_EQ(result, KillResultCode::ForceKilled);
    EXPECT_TRUE(on(list(m_inventory), port).empty());
}

} // namespace
} // namespace Tarnwick
