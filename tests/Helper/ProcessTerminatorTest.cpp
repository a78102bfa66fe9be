// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "tests/Helper/InventoryFixture.h"
#include "tests/Helper/ReusedIdentifier.h"
#include "tests/Support/OtherUser.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

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
    for (const bool listens : {false, true}) {
        auto server = std::make_optional<Puppet>();
        server->listen();
        static_cast<void>(list(m_inventory));
        const pid_t pid = server->pid();
        server.reset();
        ReusedIdentifier other(pid, listens);
        if (!other) {
            GTEST_SKIP() << "an identifier can be chosen only with privilege";
        }
        EXPECT_EQ(m_terminator.terminate(pid), KillResultCode::NotFound);
        EXPECT_FALSE(other.hasEnded());
    }
}

TEST_F(ProcessTerminatorTest, GoesByWhatAListingToldAndNotByItsOwnLooks)
{
    Puppet first;
    first.listen();
    auto second = std::make_optional<Puppet>();
    second->listen();
    static_cast<void>(list(m_inventory));
    const pid_t pid = second->pid();
    second.reset();
    ReusedIdentifier other(pid, true);
    if (!other) {
        GTEST_SKIP() << "an identifier can be chosen only with privilege";
    }
    EXPECT_EQ(m_terminator.terminate(first.pid()), KillResultCode::Terminated);
    EXPECT_EQ(m_terminator.terminate(pid), KillResultCode::NotFound);
    EXPECT_FALSE(other.hasEnded());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(m_terminator.terminate(pid), KillResultCode::Terminated);
}

TEST_F(ProcessTerminatorTest, EndsNoOtherThanTheProcessThatIsMeant)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    const std::optional<ProcessIdentity> shown = m_inventory.told(server.pid());
    ASSERT_TRUE(shown.has_value());
    const ProcessIdentity earlier{server.pid(), shown->startTicks - 1};
    EXPECT_EQ(m_terminator.terminate(earlier), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
    EXPECT_EQ(m_terminator.terminate(*shown), KillResultCode::Terminated);
}

TEST_F(ProcessTerminatorTest, IsDeniedWhereTheSystemHandsOutNoProcessDescriptor)
{
    Puppet server;
    server.listen();
    constexpr std::array<std::uint32_t, 4> codes{EPERM, ENOSYS, ENODEV, EMFILE};
    for (const std::uint32_t code : codes) {
        const int result = inOwnProcess([&server, code] {
            sock_filter program[] = {
                BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | code),
                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
            };
            const sock_fprog filter = {.len = static_cast<unsigned short>(std::size(program)),
                                       .filter = static_cast<sock_filter *>(program)};
            if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
                ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
                return 125;
            }
            ListenerInventory inventory;
            return static_cast<int>(ProcessTerminator(inventory).terminate(server.pid()));
        });
        EXPECT_EQ(result, static_cast<int>(KillResultCode::PermissionDenied)) << code;
    }
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesWhereTheNumbersInProcAreThoseOfAnotherNamespace)
{
    Puppet leader(Puppet::program(), {"npm", "run", "dev"});
    leader.joinGroup(0);
    Puppet server = leader.fork();
    server.exec(Puppet::program(), {"node", "vite.js"});
    const int port = server.listen().port;
    constexpr int noNamespace = 125;
    const auto enter = [&server, port] {
        if (::unshare(CLONE_NEWPID) != 0) {
            return noNamespace;
        }
        // Process 1 of the namespace, which sees the /proc of the one above. Here the server's
        // number is a stranger's.
        return inOwnProcess([&server, port] {
            ReusedIdentifier stranger(server.pid(), false);
            if (!stranger) {
                return noNamespace;
            }
            ListenerInventory inventory;
            const RawPortInfo record = only(list(inventory), port);
            if (record.pid != server.pid() || record.originArguments.size() != 3) {
                return 124;
            }
            const KillResultCode code = ProcessTerminator(inventory).terminate(server.pid());
            return stranger.hasEnded() ? 123 : static_cast<int>(code);
        });
    };
    const int result = inOwnProcess(enter);
    if (result == noNamespace) {
        GTEST_SKIP() << "no namespace of processes to be had";
    }
    EXPECT_EQ(result, static_cast<int>(KillResultCode::PermissionDenied));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, IsDeniedAListenerOfAnotherUser)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    // Nothing but the number in its command line leads to the server.
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
