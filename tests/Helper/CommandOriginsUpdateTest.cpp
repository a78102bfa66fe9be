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
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/syscall.h>

namespace Tarnwick {
namespace {

using Arguments = std::vector<std::string>;
using Processes = AncestorProcess::Processes;

constexpr int noFilter = 125;

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

    void update(Processes processes)
    {
        std::vector<CommandOrigins::Owner> owners;
        for (const Process &process : m_processes) {
            owners.push_back({process.inspector.get(), process.state.get()});
        }
        m_origins.update(owners, processes);
    }

    /// Of the owner that was added as number @p number, after an update.
    [[nodiscard]] Arguments origin(Processes processes, std::size_t number = 0)
    {
        update(processes);
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
            puppet->awaitRest();
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
            Job job;
            Owners owners;
            owners.add(job.server);
            constexpr std::array<long, 3> files{SYS_openat, SYS_pread64, SYS_readlinkat};
            FailingCalls calls(files);
            if (owners.origin(Processes::Changed) != npmRun) {
                return 1;
            }
            for (const long call : files) {
                calls.failEach(call, EMFILE);
                if (owners.origin(Processes::Same) != npmRun || calls.stop()) {
                    return 2;
                }
            }
            job.npm.rename("npm");
            job.npm.awaitRest();
            calls.failEach(SYS_openat, EMFILE);
            owners.update(Processes::Same);
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
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    job.npm.exec(Puppet::program(), {"npm", "start"});
    job.npm.awaitRest();
    EXPECT_EQ(owners.origin(Processes::Same), (Arguments{"npm", "start"}));
    job.npm.rename("bash");
    job.npm.awaitRest();
    EXPECT_EQ(owners.origin(Processes::Same), own);
}

TEST(CommandOriginsUpdate, SeesAnotherChildComeAndEnd)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    Puppet other = job.shell.fork();
    job.shell.awaitRest();
    other.awaitRest();
    EXPECT_EQ(owners.origin(Processes::Changed), own);
    EXPECT_EQ(owners.origin(Processes::Same), own);
    other.end(); // a zombie: no process is counted as gone
    EXPECT_EQ(owners.origin(Processes::Same), npmRun);
}

TEST(CommandOriginsUpdate, SeesAnAncestorEnd)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    job.shell.end(); // a zombie, as above
    EXPECT_EQ(owners.origin(Processes::Same), own);
}

TEST(CommandOriginsUpdate, SeesAnAncestorAdoptAnOrphan)
{
    Job job;
    job.npm.adoptOrphans();
    Puppet between = job.server.fork();
    Puppet orphan = between.fork();
    job.npm.awaitRest();
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    between.end();
    EXPECT_EQ(owners.origin(Processes::Changed), own);
    orphan.end();
    EXPECT_EQ(owners.origin(Processes::Same), npmRun);
}

TEST(CommandOriginsUpdate, SeesAChangeOfGroup)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    job.server.joinGroup(0);
    job.server.awaitRest();
    EXPECT_EQ(owners.origin(Processes::Same), own);
    job.server.joinGroup(job.npm.pid());
    EXPECT_EQ(owners.origin(Processes::Same), npmRun);
    job.shell.joinGroup(0);
    job.shell.awaitRest();
    EXPECT_EQ(owners.origin(Processes::Same), own);
}

TEST(CommandOriginsUpdate, SeesAnotherOwnerOnTheWay)
{
    Job job;
    Owners owners;
    owners.add(job.server);
    ASSERT_EQ(owners.origin(Processes::Same), npmRun);
    owners.add(job.shell);
    EXPECT_EQ(owners.origin(Processes::Same), own);
    EXPECT_EQ(owners.origin(Processes::Same, 1), own) << "npm leads to both";
    owners.remove();
    EXPECT_EQ(owners.origin(Processes::Same), npmRun);
}

TEST(CommandOriginsUpdate, KeepsWhatItFoundWhicheverCallFails)
{
    const int result = inOwnProcess([] {
        try {
            Job job;
            Owners owners;
            owners.add(job.server);
            FailingCalls calls;
            if (owners.origin(Processes::Changed) != npmRun) {
                return 1;
            }
            bool failed = true;
            for (unsigned skipped = 0; failed; ++skipped) {
                for (Puppet *puppet : {&job.npm, &job.shell}) {
                    puppet->rename(puppet == &job.npm ? "npm" : "sh");
                    puppet->awaitRest();
                }
                calls.fail(skipped, EMFILE);
                const Arguments found = owners.origin(Processes::Changed);
                const std::optional<long> call = calls.stop();
                failed = call.has_value();
                if (found != npmRun) {
                    std::cerr << FailingCalls::name(call.value_or(-1)) << ", call " << skipped
                              << '\n';
                    return 2;
                }
            }
            // A shortage that lasts, and a change that it hides.
            job.npm.exec(Puppet::program(), {"npm", "start"});
            job.npm.awaitRest();
            calls.failEach(SYS_openat, EMFILE);
            if (owners.origin(Processes::Changed) != npmRun ||
                owners.origin(Processes::Same) != npmRun) {
                return 3;
            }
            static_cast<void>(calls.stop());
            return owners.origin(Processes::Same) == Arguments{"npm", "start"} ? 0 : 4;
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
