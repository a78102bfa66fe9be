// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ControlGroups.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/OtherUser.h"

#include <chrono>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

/// What a user sees of the sockets of others. Root makes the others' processes, and a control group
/// where one is needed; elsewhere these tests are skipped.
class ForeignSocketTest : public InventoryFixture
{
protected:
    void SetUp() override
    {
        if (::getuid() != 0) {
            GTEST_SKIP() << "only root can become another user";
        }
    }

    /// A puppet of a service: in a control group, and of a user of its own.
    static Puppet serviceIn(const ControlGroup &group, const std::vector<std::string> &arguments)
    {
        Puppet service(Puppet::program(), arguments);
        EXPECT_TRUE(group.take(service.pid()));
        return service;
    }

    static constexpr uid_t serviceUser = 4711;
};

TEST_F(ForeignSocketTest, NamesTheOneProcessOfAServicesControlGroup)
{
    const auto group = ControlGroup::make("shop.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "shop-server-of-length");
    Puppet service(program, {program.string(), "--quiet"});
    ASSERT_TRUE(group->take(service.pid()));
    service.changeUser(serviceUser);
    const int port = service.listen().port;

    for (const bool warm : {false, true}) {
        const RawPortInfo record = only(listInOwnProcess(becomeOtherUser, warm), port);
        EXPECT_EQ(record.pid, service.pid());
        EXPECT_EQ(record.processName, "shop-server-of-length");
        EXPECT_EQ(record.commandPath, program);
        EXPECT_EQ(record.arguments, (std::vector<std::string>{program.string(), "--quiet"}));
        EXPECT_EQ(record.cwd, "") << "another user's working directory is not ours to read";
        EXPECT_GT(record.memoryBytes, 0U);
    }
}

TEST_F(ForeignSocketTest, NamesTheMasterOfAGroupWithWorkersOfOtherUsers)
{
    const auto group = ControlGroup::make("web.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet master = serviceIn(*group, {"web"});
    const int port = master.listen().port;
    Puppet first = master.fork();
    first.changeUser(serviceUser);
    Puppet second = master.fork();
    second.changeUser(serviceUser);
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), port).pid, master.pid());
}

TEST_F(ForeignSocketTest, TellsUnrelatedServersOfOneGroupApartByTheirPort)
{
    const auto group = ControlGroup::make("many.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    std::vector<Puppet> servers;
    std::vector<int> ports;
    for (int count = 0; count < 3; ++count) {
        servers.push_back(serviceIn(*group, {"server"}));
        ports.push_back(servers.back().listen().port);
        servers.back().exec(Puppet::program(),
                            {"server", "--port=" + std::to_string(ports.back())});
    }
    const Records records = listInOwnProcess(becomeOtherUser);
    for (std::size_t at = 0; at < servers.size(); ++at) {
        EXPECT_EQ(only(records, ports[at]).pid, servers[at].pid());
    }
}

TEST_F(ForeignSocketTest, GuessesNoOwnerAmongEqualProcesses)
{
    const auto group = ControlGroup::make("equal.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    std::vector<Puppet> servers;
    servers.reserve(5);
    for (int count = 0; count < 5; ++count) {
        servers.push_back(serviceIn(*group, {"server"}));
    }
    const auto before = std::chrono::system_clock::now();
    const int port = servers[2].listen().port;
    const RawPortInfo record = only(listInOwnProcess(becomeOtherUser), port);
    EXPECT_EQ(record.pid, 0);
    EXPECT_EQ(record.processName, group->folder().filename().string()) << "the unit's name";
    EXPECT_EQ(record.commandPath, "");
    EXPECT_EQ(record.cwd, "");
    EXPECT_TRUE(record.arguments.empty());
    EXPECT_EQ(record.originArguments, std::vector<std::string>{"unknown, of user root"});
    EXPECT_EQ(record.memoryBytes, 0U);
    EXPECT_GE(record.processStartedAt, std::chrono::floor<std::chrono::seconds>(before));
}

TEST_F(ForeignSocketTest, CallsAnUnknownOwnerUnknownWhereNoUnitIs)
{
    const auto group = ControlGroup::make("plain");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    std::vector<Puppet> servers;
    servers.reserve(2);
    for (int count = 0; count < 2; ++count) {
        servers.push_back(serviceIn(*group, {"server"}));
    }
    const int port = servers[0].listen().port;
    const RawPortInfo record = only(listInOwnProcess(becomeOtherUser), port);
    EXPECT_EQ(record.pid, 0);
    EXPECT_EQ(record.processName, "unknown");
}

TEST_F(ForeignSocketTest, FindsTheServiceOfASocketUnit)
{
    const auto socketGroup = ControlGroup::make("printer.socket");
    const auto serviceGroup = ControlGroup::make("printer.service");
    if (!socketGroup || !serviceGroup) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet manager = serviceIn(*socketGroup, {"manager"});
    const Puppet::Listener listener = manager.listen();
    Puppet service = serviceIn(*serviceGroup, {"printer"});
    manager.pass(listener.descriptor, service, 3);
    manager.end();
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), listener.port).pid, service.pid());
}

TEST_F(ForeignSocketTest, PrefersAProcessThatIsSeenToHoldTheSocket)
{
    const auto group = ControlGroup::make("handed.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet service = serviceIn(*group, {"service"});
    const Puppet::Listener listener = service.listen();
    Puppet own(Puppet::program());
    own.changeUser(otherUser);
    // What changes its user may not be looked at until it becomes another program.
    own.exec(Puppet::program(), {"own"});
    service.pass(listener.descriptor, own, 7);
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), listener.port).pid, own.pid());
}

TEST_F(ForeignSocketTest, NeverHidesAPortWhoseOwnerNobodyMayLookInto)
{
    // Without a group of its own nothing leads to this process but its port, which it does not
    // name.
    Puppet hidden;
    hidden.changeUser(serviceUser);
    const int port = hidden.listen().port;
    const RawPortInfo record = only(listInOwnProcess(becomeOtherUser), port);
    EXPECT_EQ(record.port, port);
}

TEST_F(ForeignSocketTest, ToleratesAProcFileSystemThatHidesOtherUsersProcesses)
{
    const auto isolate = [] {
        return ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    };
    if (inOwnProcess([&isolate] { return isolate() ? 0 : 1; }) != 0) {
        GTEST_SKIP() << "no namespace of mounts to be had";
    }
    const auto group = ControlGroup::make("hidden.service");
    if (!group) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet service = serviceIn(*group, {"service"});
    service.changeUser(serviceUser);
    const int foreignPort = service.listen().port;
    Puppet own(Puppet::program());
    own.changeUser(otherUser);
    own.exec(Puppet::program(), {"own"});
    const int ownPort = own.listen().port;

    const auto hide = [&isolate] {
        return isolate() && ::mount("proc", "/proc", "proc", 0, "hidepid=2") == 0 &&
               becomeOtherUser();
    };
    const Records records = listInOwnProcess(hide);
    EXPECT_EQ(only(records, ownPort).pid, own.pid());
    const RawPortInfo record = only(records, foreignPort);
    EXPECT_EQ(record.pid, 0);
    EXPECT_EQ(record.processName, group->folder().filename().string());
}

TEST_F(ForeignSocketTest, FallsBackToTheTablesWhereSocketDiagnosticsAreRefused)
{
    Puppet server;
    const int port = server.listen().port;
    const auto refuse = [] {
        // socket(AF_NETLINK, ...) fails with EPERM, all else goes through.
        sock_filter program[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog filter = {.len = static_cast<unsigned short>(std::size(program)),
                                   .filter = static_cast<sock_filter *>(program)};
        return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
               ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
               ::socket(AF_NETLINK, SOCK_RAW, 0) < 0;
    };
    EXPECT_EQ(only(listInOwnProcess(refuse), port).pid, server.pid());
}

TEST_F(ForeignSocketTest, SeesTheNetworkNamespaceThatItRunsIn)
{
    Puppet outside;
    outside.listen();
    const auto leave = [] { return ::unshare(CLONE_NEWNET) == 0; };
    EXPECT_TRUE(listInOwnProcess(leave).empty());
}

TEST_F(ForeignSocketTest, NamesAServerThatIsProcessOneOfItsContainer)
{
    constexpr int noNamespace = 125;
    // Process 1 of a namespace, with a /proc of that namespace, and a worker.
    const auto enter = [] {
        if (::unshare(CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWNET) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            return noNamespace;
        }
        return inOwnProcess([] {
            // This is process 1 now; it listens, and so does its worker.
            if (::mount("proc", "/proc", "proc", 0, nullptr) != 0) {
                return noNamespace;
            }
            const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            if (::listen(listener, 4) != 0) {
                return 3;
            }
            // One worker goes on as it is, another becomes a program of another name.
            for (const bool becomesAnother : {false, true}) {
                const pid_t worker = ::fork();
                if (worker == 0) {
                    ::fcntl(listener, F_SETFD, 0);
                    if (becomesAnother) {
                        ::execl("/bin/sleep", "sleep", "1000", nullptr);
                    }
                    for (;;) {
                        ::pause();
                    }
                }
            }
            ListenerInventory inventory;
            const Listing listing = inventory.list();
            const auto *records = std::get_if<Records>(&listing);
            return records != nullptr && records->size() == 1 && records->front().pid == 1 ? 0 : 4;
        });
    };
    const int result = inOwnProcess(enter);
    if (result == noNamespace) {
        GTEST_SKIP() << "no namespace of processes to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(ForeignSocketTest, KeepsUpWithProcessesThatComeAndGoWhileItLooks)
{
    // A crowd of servers that start, listen and end all the time.
    const pid_t crowd = ::fork();
    ASSERT_GE(crowd, 0);
    if (crowd == 0) {
        for (;;) {
            const pid_t server = ::fork();
            if (server == 0) {
                const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
                ::listen(listener, 1);
                ::_exit(0);
            }
            ::waitpid(server, nullptr, 0);
            if (::getppid() == 1) {
                ::_exit(0);
            }
        }
    }
    Puppet steady;
    const int port = steady.listen().port;
    for (int listing = 0; listing < 300; ++listing) {
        ASSERT_EQ(only(list(m_inventory), port).pid, steady.pid());
    }
    ::kill(crowd, SIGKILL);
    ::waitpid(crowd, nullptr, 0);
}

} // namespace
} // namespace Tarnwick
