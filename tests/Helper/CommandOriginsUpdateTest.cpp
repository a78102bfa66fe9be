// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/CommandOrigins.h"

#include "Helper/linux/BootClock.h"
#include "Helper/linux/ProcessInspector.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/syscall.h>

namespace Tarnwick {
namespace {

using Arguments = std::vector<std::string>;
using Moment = AncestorProcess::Moment;

constexpr int noFilter = 125;

/// On an idle machine: nothing but what a test's processes have just done.
constexpr Moment idle{.othersRun = false, .processesChanged = false};
/// The same after a process has come, or was reaped.
constexpr Moment idleAfterAFork{.othersRun = false, .processesChanged = true};

/// Waits until a process, whose work is done, sleeps: then its processor time is counted.
void awaitSleep(const Puppet &puppet)
{
    const FileDescriptor root = ProcFs::openRoot();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto sleeps = [&] {
        const auto stat = ProcFs::stat(root.get(), puppet.pid());
        return !stat || stat->state == 'S' || stat->state == 'Z';
    };
    while (!sleeps()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the puppet does not sleep");
        }
        std::this_thread::yield();
    }
}

/// The owners of a listing, and what they are shown as.
class Owners
{
public:
    void add(const Puppet &puppet)
    {
        Process process{.inspector = ProcessInspector::open(m_root.get(), puppet.pid()),
                        .state = std::make_unique<CommandOrigins::State>()};
        if (!process.inspector || !process.inspector->refresh(m_clock)) {
            throw std::runtime_error("the puppet cannot be inspected");
        }
        m_processes.push_back(std::move(process));
    }

    void remove() { m_processes.pop_back(); }

    void update(const Moment &moment)
    {
        std::vector<CommandOrigins::Owner> owners;
        for (const Process &process : m_processes) {
            owners.push_back({process.inspector.get(), process.state.get()});
        }
        m_origins.update(owners, moment);
    }

    /// Of the owner that was added as number @p number, after an update.
    [[nodiscard]] Arguments origin(const Moment &moment, std::size_t number = 0)
    {
        update(moment);
        return m_processes.at(number).inspector->details().originArguments;
    }

private:
    struct Process
    {
        std::unique_ptr<ProcessInspector> inspector;
        std::unique_ptr<CommandOrigins::State> state;
    };

    FileDescriptor m_root = ProcFs::openRoot();
    BootClock m_clock;
    CommandOrigins m_origins{m_root.get(), ProcFs::numbering(m_root.get())};
    std::vector<Process> m_processes;
};

const Arguments npmRun{"npm", "run", "dev"};
const Arguments own{};

/// npm, its shell and a server, started from an interactive shell that waits.
struct Job
{
    Job()
        : interactive()
        , npm(interactive.fork())
        , shell((start(npm, npmRun), npm.fork()))
        , server(shell.fork())
    {
        shell.rename("sh");
        server.exec(Puppet::program(), {"vite"});
        for (const Puppet *puppet : {&interactive, &npm, &shell, &server}) {
            awaitSleep(*puppet);
        }
    }

    static void start(Puppet &leader, const Arguments &arguments)
    {
        leader.joinGroup(0);
        leader.exec(Puppet::program(), arguments);
    }

    Puppet interactive;
    Puppet npm;
    Puppet shell;
    Puppet server;
};

TEST(CommandOriginsUpdate, ReadsNothingAgainWhereNothingHasRun)
{
    const int result = inOwnProcess([] {
        try {
            const Job job;
            Owners owners;
            owners.add(job.server);
            constexpr std::array<long, 3> files{SYS_openat, SYS_pread64, SYS_readlinkat};
            FailingCalls calls(files);
            if (owners.origin(Moment{}) != npmRun) {
                return 1;
            }
            for (const long call : files) {
                calls.failEach(call, EMFILE);
                if (owners.origin(idle) != npmRun || calls.stop()) {
                    return 2;
                }
            }
            calls.failEach(SYS_openat, EMFILE);
            owners.update(Moment{});
            return calls.stop() ? 0 : 3;
        } catch (const std::runtime_error &) {
            return noFilter;
        }
    });
    if (result == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST(CommandOriginsUpdate, SeesAnotherProgramOfAnAncestor)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    job.npm.exec(Puppet::program(), {"npm", "start"});
    awaitSleep(job.npm);
    EXPECT_EQ(owners.origin(idle), (Arguments{"npm", "start"}));
    job.npm.rename("bash");
    awaitSleep(job.npm);
    EXPECT_EQ(owners.origin(idle), own);
}

TEST(CommandOriginsUpdate, SeesAnotherChildComeAndEnd)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    Puppet other = job.shell.fork();
    awaitSleep(job.shell);
    awaitSleep(other);
    EXPECT_EQ(owners.origin(idleAfterAFork), own);
    EXPECT_EQ(owners.origin(idle), own);
    other.end(); // a zombie: no process is counted as gone
    EXPECT_EQ(owners.origin(idle), npmRun);
}

TEST(CommandOriginsUpdate, SeesAnAncestorEnd)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    job.shell.end(); // a zombie, as above
    EXPECT_EQ(owners.origin(idle), own);
}

TEST(CommandOriginsUpdate, SeesAnAncestorAdoptAnOrphan)
{
    Job job;
    job.npm.adoptOrphans();
    Puppet between = job.server.fork();
    Puppet orphan = between.fork();
    awaitSleep(job.npm);
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    between.end();
    EXPECT_EQ(owners.origin(idleAfterAFork), own);
    orphan.end();
    EXPECT_EQ(owners.origin(idle), npmRun);
}

TEST(CommandOriginsUpdate, SeesAChangeOfGroup)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    job.server.joinGroup(0);
    EXPECT_EQ(owners.origin(idle), own);
    job.server.joinGroup(job.npm.pid());
    EXPECT_EQ(owners.origin(idle), npmRun);
    job.shell.joinGroup(0);
    awaitSleep(job.shell);
    EXPECT_EQ(owners.origin(idle), own);
}

TEST(CommandOriginsUpdate, SeesAnotherOwnerOnTheWay)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(idle), npmRun);
    owners.add(job.shell);
    EXPECT_EQ(owners.origin(idle), own);
    EXPECT_EQ(owners.origin(idle, 1), own) << "npm leads to both";
    owners.remove();
    EXPECT_EQ(owners.origin(idle), npmRun);
}

TEST(CommandOriginsUpdate, KeepsWhatItFoundWhicheverCallFails)
{
    const int result = inOwnProcess([] {
        try {
            Job job;
            Owners owners;
            owners.add(job.server);
            FailingCalls calls;
            if (owners.origin(Moment{}) != npmRun) {
                return 1;
            }
            bool failed = true;
            for (unsigned skipped = 0; failed; ++skipped) {
                calls.fail(skipped, EMFILE);
                const Arguments found = owners.origin(Moment{});
                const std::optional<long> call = calls.stop();
                failed = call.has_value();
                if (found != npmRun) {
                    std::cerr << FailingCalls::name(call.value_or(-1)) << ", call " << skipped
                              << '\n';
                    return 2;
                }
            }
            // A shortage that lasts, and a change that it hides.
            calls.failEach(SYS_openat, EMFILE);
            job.npm.exec(Puppet::program(), {"npm", "start"});
            if (owners.origin(Moment{}) != npmRun || owners.origin(idle) != npmRun) {
                return 3;
            }
            static_cast<void>(calls.stop());
            return owners.origin(idle) == Arguments{"npm", "start"} ? 0 : 4;
        } catch (const std::runtime_error &) {
            return noFilter;
        }
    });
    if (result == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(result, 0);
}

} // namespace
} // namespace Tarnwick
