// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"
#include "Helper/linux/ProcessRoles.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/OtherUser.h"

#include <filesystem>
#include <functional>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

constexpr const char *installedManager = "/usr/lib/systemd/systemd";
constexpr int notToBeHad = 125;

/// Who counts as a service manager, which holds sockets for its services.
using ServiceManagerTest = InventoryFixture;

/// Runs @p body below a process 1 of its own, where the installed service manager is the puppet's
/// program. What that returns, or @ref notToBeHad.
int withPuppetAsManager(const std::function<int()> &body)
{
    return inOwnProcess([&body] {
        if (::unshare(CLONE_NEWPID | CLONE_NEWNS) != 0) {
            return notToBeHad;
        }
        return inOwnProcess([&body] {
            const bool prepared =
                std::filesystem::exists(installedManager) &&
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                ::mount("proc", "/proc", "proc", 0, nullptr) == 0 &&
                ::mount(Puppet::program().c_str(), installedManager, nullptr, MS_BIND, nullptr) ==
                    0;
            return prepared ? body() : notToBeHad;
        });
    });
}

TEST_F(ServiceManagerTest, IsNobodyForANameThatAnybodyMayTake)
{
    const TemporaryCopy copies;
    Puppet server(copies.copy(Puppet::program(), "systemd"), {"systemd", "--user"});
    server.rename("systemd");
    const int port = server.listen().port;
    EXPECT_EQ(owner(port), server.pid());
    Puppet child = server.fork();
    child.exec(Puppet::program(), {"child"});
    EXPECT_EQ(owner(port), server.pid()) << "its child has only inherited the socket";
    EXPECT_EQ(codeOf(InventoryFixture::listAndTerminate(m_inventory, server.pid())),
              KillResultCode::Terminated);
}

TEST_F(ServiceManagerTest, HoldsSocketsForItsServicesInItsGroupBelowProcessOne)
{
    const auto managers = ControlGroup::make("managers");
    const auto user = managers ? managers->makeBelow("user@1000.service") : std::nullopt;
    const auto scope = user ? user->makeBelow("init.scope") : std::nullopt;
    if (!scope) {
        GTEST_SKIP() << "no control group to be had";
    }
    const int result = withPuppetAsManager([&scope] {
        ListenerInventory inventory;
        Puppet manager(installedManager, {"systemd", "--user"});
        if (!scope->take(manager.pid())) {
            return notToBeHad;
        }
        const int port = manager.listen(Puppet::Family::V4, 40).port;
        if (only(list(inventory), port).pid != manager.pid() ||
            codeOf(InventoryFixture::listAndTerminate(inventory, manager.pid())) !=
                KillResultCode::PermissionDenied) {
            return 1;
        }
        Puppet service = manager.fork();
        service.exec(Puppet::program(), {"service"});
        service.duplicate(40, 3);
        service.close(40);
        if (only(list(inventory), port).pid != service.pid() ||
            only(coldList(), port).pid != service.pid()) {
            return 2;
        }
        service.end();
        return only(list(inventory), port).pid == manager.pid() ? 0 : 3;
    });
    if (result == notToBeHad) {
        GTEST_SKIP() << "no namespaces to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(ServiceManagerTest, IsNoProcessThatOnlyRunsTheSameProgram)
{
    const int result = withPuppetAsManager([] {
        // Neither process 1 nor in the group of a user's manager.
        ListenerInventory inventory;
        Puppet server(installedManager, {"systemd", "--user"});
        server.listen();
        static_cast<void>(list(inventory));
        return static_cast<int>(
            codeOf(InventoryFixture::listAndTerminate(inventory, server.pid())));
    });
    if (result == notToBeHad) {
        GTEST_SKIP() << "no namespaces to be had";
    }
    EXPECT_EQ(result, static_cast<int>(KillResultCode::Terminated));
}

TEST_F(ServiceManagerTest, IsNotWhatLiesAtItsPathInAnotherNamespaceOfMounts)
{
    const auto managers = ControlGroup::make("forged");
    const auto user = managers ? managers->makeBelow("user@1000.service") : std::nullopt;
    const auto scope = user ? user->makeBelow("init.scope") : std::nullopt;
    if (!scope) {
        GTEST_SKIP() << "no control group to be had";
    }
    const int result = inOwnProcess([&scope] {
        if (::unshare(CLONE_NEWPID | CLONE_NEWNS) != 0) {
            return notToBeHad;
        }
        return inOwnProcess([&scope] {
            if (!std::filesystem::exists(installedManager) ||
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                ::mount("proc", "/proc", "proc", 0, nullptr) != 0) {
                return notToBeHad;
            }
            // Started in a namespace of its own, in which the path is another file's.
            const pid_t forger = ::fork();
            if (forger == 0) {
                ::unshare(CLONE_NEWNS);
                ::mount("/bin/sleep", installedManager, nullptr, MS_BIND, nullptr);
                ::execl(installedManager, "systemd", "1000", nullptr);
                ::_exit(1);
            }
            const FileDescriptor root = ProcFs::openRoot();
            std::string path;
            const std::string link = std::to_string(forger) + "/exe";
            for (int attempt = 0; attempt < 5000 && path != installedManager; ++attempt) {
                ::usleep(1000);
                ProcFs::readLink(root.get(), link.c_str(), path);
            }
            const std::optional<ProcFs::Stat> stat = ProcFs::stat(root.get(), forger);
            if (path != installedManager || !stat || !scope->take(forger)) {
                return notToBeHad;
            }
            return static_cast<int>(ProcessRoles(root.get()).role(forger, *stat));
        });
    });
    if (result == notToBeHad) {
        GTEST_SKIP() << "no namespaces to be had";
    }
    EXPECT_EQ(result, static_cast<int>(ProcessRoles::Role::Ordinary));
}

TEST(ProcessRolesTest, KnowTheGroupsOfServiceManagers)
{
    const auto isOfUser = ProcessRoles::isGroupOfUserManager;
    EXPECT_TRUE(isOfUser("0::/user.slice/user-1000.slice/user@1000.service/init.scope\n"));
    EXPECT_TRUE(isOfUser("4:memory:/x\n1:name=systemd:/a/user@0.service/init.scope\n0::/\n"));
    for (const char *const other :
         {"", "0::/\n", "0::/init.scope\n", "0::/user@.service/init.scope\n",
          "0::/user@me.service/init.scope\n", "0::/user@1000.service\n",
          "0::/user@1000.service/init.scope/below\n", "0::/xuser@1000.service/init.scope\n",
          "3:memory:/user@1000.service/init.scope\n", "user@1000.service/init.scope"}) {
        EXPECT_FALSE(isOfUser(other)) << other;
    }
    EXPECT_TRUE(ProcessRoles::isGroupOfSystemManager("0::/init.scope\n"));
    EXPECT_FALSE(ProcessRoles::isGroupOfSystemManager("0::/a/init.scope\n"));
}

} // namespace
} // namespace Tarnwick
