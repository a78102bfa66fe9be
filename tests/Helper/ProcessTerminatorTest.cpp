// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"

#include "tests/Helper/FrozenGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Helper/ReusedIdentifier.h"
#include "tests/Helper/TracedProcess.h"
#include "tests/Support/OtherUser.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

class ProcessTerminatorTest : public InventoryFixture
{
protected:
    KillResultCode terminate(std::int32_t pid, std::optional<std::int32_t> caller = std::nullopt)
    {
        return codeOf(InventoryFixture::terminate(m_inventory, pid, caller));
    }

    KillResultCode listAndTerminate(std::int32_t pid,
                                    std::optional<std::int32_t> caller = std::nullopt)
    {
        return codeOf(InventoryFixture::listAndTerminate(m_inventory, pid, caller));
    }
};

TEST_F(ProcessTerminatorTest, EndsAListener)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(terminate(server.pid()), KillResultCode::Terminated);
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesAListenerThatNoListingReported)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(terminate(server.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(server.hasEnded());
    const pid_t pid = server.pid();
    server.end();
    EXPECT_EQ(terminate(pid), KillResultCode::NotFound);
}

TEST_F(ProcessTerminatorTest, ForcesAListenerThatIgnoresTheRequest)
{
    Puppet server;
    server.listen();
    server.ignoreSignal(SIGTERM);
    EXPECT_EQ(listAndTerminate(server.pid()), KillResultCode::ForceKilled);
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
    EXPECT_EQ(listAndTerminate(server.pid()), KillResultCode::Terminated);
    EXPECT_TRUE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, FindsNothingWhereTheProcessIsAlreadyGone)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    const pid_t pid = server.pid();
    server.end();
    EXPECT_EQ(terminate(pid), KillResultCode::NotFound);
}

TEST_F(ProcessTerminatorTest, TakesAZombieForGone)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(terminate(server.makeZombie()), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, FindsNothingForWhatIsNoProcessIdentifier)
{
    EXPECT_EQ(terminate(0), KillResultCode::NotFound);
    EXPECT_EQ(terminate(-1), KillResultCode::NotFound);
    EXPECT_EQ(terminate(std::numeric_limits<std::int32_t>::min()), KillResultCode::NotFound);
    EXPECT_EQ(terminate(2147483647), KillResultCode::NotFound);
}

TEST_F(ProcessTerminatorTest, FindsNothingForAThread)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(terminate(server.startThread()), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesProcessOneItselfAndItsCaller)
{
    Puppet caller;
    caller.listen();
    EXPECT_EQ(terminate(1), KillResultCode::PermissionDenied);
    EXPECT_EQ(terminate(::getpid()), KillResultCode::PermissionDenied);
    EXPECT_EQ(listAndTerminate(caller.pid(), caller.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(caller.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesAProcessThatDoesNotListen)
{
    Puppet bystander;
    EXPECT_EQ(listAndTerminate(bystander.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(bystander.hasEnded());
}

TEST_F(ProcessTerminatorTest, RefusesAWorkerThatIsNotTheOwner)
{
    Puppet master;
    master.listen();
    Puppet worker = master.fork();
    EXPECT_EQ(listAndTerminate(worker.pid()), KillResultCode::PermissionDenied);
    EXPECT_FALSE(worker.hasEnded());
}

TEST_F(ProcessTerminatorTest, TakesAListenerThatListensNoMoreForGone)
{
    Puppet server;
    const Puppet::Listener listener = server.listen();
    static_cast<void>(list(m_inventory));
    server.close(listener.descriptor);
    EXPECT_EQ(terminate(server.pid()), KillResultCode::NotFound);
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
        EXPECT_EQ(terminate(pid), KillResultCode::NotFound);
        EXPECT_FALSE(other.hasEnded());
    }
}

TEST_F(ProcessTerminatorTest, NeverTouchesAProcessThatGotTheIdentifierWithinATickOfTheClock)
{
    constexpr int rounds = 50;
    auto first = std::make_optional<Puppet>();
    const pid_t pid = first->pid();
    first.reset();
    for (int round = 0; round < rounds; ++round) {
        auto server = std::make_unique<ReusedIdentifier>(pid, true);
        if (!*server) {
            GTEST_SKIP() << "an identifier can be chosen only with privilege";
        }
        static_cast<void>(list(m_inventory));
        ASSERT_NE(m_inventory.report()->find(pid), nullptr);
        server.reset();
        ReusedIdentifier other(pid, true);
        ASSERT_TRUE(other);
        ASSERT_EQ(terminate(pid), KillResultCode::NotFound) << round;
        ASSERT_FALSE(other.hasEnded());
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
    EXPECT_EQ(terminate(first.pid()), KillResultCode::Terminated);
    EXPECT_EQ(terminate(pid), KillResultCode::NotFound);
    EXPECT_FALSE(other.hasEnded());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(terminate(pid), KillResultCode::Terminated);
}

TEST_F(ProcessTerminatorTest, EndsNoOtherThanTheProcessThatIsMeant)
{
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    const SharedProcessReport report = m_inventory.report();
    const ReportedProcess *shown = report->find(server.pid());
    ASSERT_NE(shown, nullptr);
    ProcessTerminator terminator(m_inventory);
    ProcessIdentity earlier = shown->process;
    earlier.startTicks -= 1;
    earlier.inode -= earlier.inode != 0 ? 1 : 0;
    EXPECT_EQ(codeOf(terminator.terminate(earlier)), KillResultCode::NotFound);
    EXPECT_FALSE(server.hasEnded());
    EXPECT_EQ(codeOf(terminator.terminate(shown->process)), KillResultCode::Terminated);
}

TEST_F(ProcessTerminatorTest, IsDeniedWhereTheSystemHandsOutNoProcessDescriptor)
{
    Puppet server;
    server.listen();
    constexpr std::array<std::uint32_t, 3> codes{EPERM, ENOSYS, ENODEV};
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
            static_cast<void>(list(inventory));
            return static_cast<int>(codeOf(InventoryFixture::terminate(inventory, server.pid())));
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
            const KillResultCode code =
                codeOf(InventoryFixture::terminate(inventory, server.pid()));
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
        static_cast<void>(list(inventory));
        return static_cast<int>(codeOf(InventoryFixture::terminate(inventory, server.pid())));
    });
    EXPECT_EQ(code, static_cast<int>(KillResultCode::PermissionDenied));
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, LeavesListingFreeWhileItWaits)
{
    Puppet server;
    const int port = server.listen().port;
    server.ignoreSignal(SIGTERM);
    static_cast<void>(list(m_inventory));
    const SharedProcessReport report = m_inventory.report();
    const ReportedProcess *reported = report->find(server.pid());
    ASSERT_NE(reported, nullptr);
    const ProcessTerminator terminator(m_inventory, impatient);
    auto admitted = terminator.admit(server.pid(), &reported->process);
    ASSERT_TRUE(std::holds_alternative<ProcessTerminator::Target>(admitted));
    auto started = terminator.start(std::get<ProcessTerminator::Target>(std::move(admitted)),
                                    {.kind = Ownership::Kind::Seen});
    ASSERT_TRUE(std::holds_alternative<Termination>(started));
    auto &termination = std::get<Termination>(started);
    EXPECT_FALSE(termination.advance().has_value());
    EXPECT_EQ(only(list(m_inventory), port).pid, server.pid());
    std::optional<KillAnswer> answer;
    while (!answer) {
        answer = termination.advance();
    }
    EXPECT_EQ(codeOf(*answer), KillResultCode::ForceKilled);
    EXPECT_TRUE(on(list(m_inventory), port).empty());
}

TEST_F(ProcessTerminatorTest, DoesNotSayOfALivingProcessThatItWasForceKilled)
{
    // A tracer that wants to see its end keeps a process from ending, as the kernel itself may.
    Puppet server;
    server.listen();
    static_cast<void>(list(m_inventory));
    TracedProcess traced(server.pid());
    if (!traced) {
        GTEST_SKIP() << "no process may be traced here";
    }
    const SharedProcessReport report = m_inventory.report();
    ASSERT_NE(report->find(server.pid()), nullptr);
    ProcessTerminator terminator(m_inventory, {.beforeForcing = std::chrono::milliseconds(50),
                                               .afterForcing = std::chrono::milliseconds(50)});
    const KillAnswer answer = terminator.terminate(report->find(server.pid())->process);
    const auto *error = std::get_if<KillError>(&answer);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, ETIMEDOUT);
    EXPECT_EQ(error->message,
              "process " + std::to_string(server.pid()) + " was sent SIGKILL and has not ended");
    EXPECT_FALSE(server.hasEnded());
}

TEST_F(ProcessTerminatorTest, DoesNotSayOfAFrozenProcessThatItWasForceKilled)
{
    Puppet server;
    server.listen();
    const FrozenGroup group; // thawed before the server is ended
    static_cast<void>(list(m_inventory));
    if (!group.freeze(server.pid())) {
        GTEST_SKIP() << "no control group that freezes to be had";
    }
    const SharedProcessReport report = m_inventory.report();
    ASSERT_NE(report->find(server.pid()), nullptr);
    ProcessTerminator terminator(m_inventory, {.beforeForcing = std::chrono::milliseconds(50),
                                               .afterForcing = std::chrono::milliseconds(50)});
    const KillAnswer answer = terminator.terminate(report->find(server.pid())->process);
    EXPECT_TRUE(server.hasEnded() ? std::holds_alternative<KillResultCode>(answer)
                                  : std::holds_alternative<KillError>(answer));
}

TEST_F(ProcessTerminatorTest, TellsAShortageOfDescriptorsFromAnEnd)
{
    Puppet server;
    server.listen();
    for (const rlim_t left : {0U, 1U, 2U, 3U, 4U, 6U, 8U, 12U}) {
        const int result = inOwnProcess([&server, left] {
            ListenerInventory inventory;
            static_cast<void>(list(inventory));
            // The limit is of numbers: the lowest that are free are used.
            const FileDescriptor next(::dup(STDERR_FILENO));
            const auto limit = static_cast<rlim_t>(next.get()) + left;
            const rlimit few{.rlim_cur = limit, .rlim_max = limit};
            ProcessTerminator terminator(inventory, impatient);
            const SharedProcessReport report = inventory.report();
            if (report->find(server.pid()) == nullptr || ::setrlimit(RLIMIT_NOFILE, &few) != 0) {
                return 125;
            }
            const KillAnswer answer = terminator.terminate(report->find(server.pid())->process);
            const auto *code = std::get_if<KillResultCode>(&answer);
            return code != nullptr ? static_cast<int>(*code) : 100;
        });
        EXPECT_TRUE(result == 100 || result == static_cast<int>(KillResultCode::Terminated))
            << left << " descriptors left: " << result;
        if (result == 0) {
            break;
        }
        EXPECT_FALSE(server.hasEnded());
    }
}

} // namespace
} // namespace Tarnwick
