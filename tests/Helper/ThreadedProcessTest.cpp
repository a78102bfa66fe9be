// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/ThreadedProcess.h"
#include "Helper/ProcessTerminator.h"
#include "Shared/FileDescriptor.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <string>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using ThreadedProcessTest = InventoryFixture;
using Kind = ThreadedProcess::Kind;

TEST_F(ThreadedProcessTest, OwnsItsSocketsWithoutItsMainThread)
{
    const ThreadedProcess server(Kind::WithoutMainThread);
    ASSERT_TRUE(server.awaitEndOfMainThread());
    for (const RawPortInfo &record :
         {only(list(m_inventory), server.port()), only(list(m_inventory), server.port()),
          only(coldList(), server.port())}) {
        EXPECT_EQ(record.pid, server.pid());
        EXPECT_EQ(record.processName, "HelperTests");
        EXPECT_EQ(record.commandPath, std::filesystem::read_symlink("/proc/self/exe"));
        EXPECT_EQ(record.cwd, std::filesystem::current_path());
        EXPECT_FALSE(record.arguments.empty());
        EXPECT_GT(record.memoryBytes, 0U);
    }
}

TEST_F(ThreadedProcessTest, StaysTheOwnerWhenItsMainThreadEnds)
{
    const ThreadedProcess server(Kind::WithoutMainThread);
    for (int listing = 0; listing < 50; ++listing) {
        const RawPortInfo record = only(list(m_inventory), server.port());
        ASSERT_EQ(record.pid, server.pid());
        ASSERT_EQ(record.processName, "HelperTests");
    }
    ASSERT_TRUE(server.awaitEndOfMainThread());
    EXPECT_EQ(only(list(m_inventory), server.port()).pid, server.pid());
}

TEST_F(ThreadedProcessTest, OwnsItsSocketsWithoutItsMainThreadForAUserWhoIsNotRoot)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "whoever is not root is such a user in the other tests";
    }
    const int failed = asOtherUser([] {
        // Who changes the user is root's to look into.
        ::prctl(PR_SET_DUMPABLE, 1);
        const ThreadedProcess server(Kind::WithoutMainThread);
        // A session has a bus, which is not to be ended. The server does not have its socket.
        const TemporaryFolder folder;
        const std::string path = (folder.path() / "bus").string();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        const FileDescriptor bus(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (::bind(bus.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
            ::listen(bus.get(), 1) != 0) {
            return 2;
        }
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
        ListenerInventory inventory;
        const bool isListed = server.awaitEndOfMainThread() &&
                              only(list(inventory), server.port()).pid == server.pid() &&
                              only(list(inventory), server.port()).processName == "HelperTests";
        return isListed && codeOf(terminate(inventory, server.pid())) == KillResultCode::Terminated
                   ? 0
                   : 1;
    });
    EXPECT_EQ(failed, 0);
}

TEST_F(ThreadedProcessTest, CanBeEndedWithoutItsMainThread)
{
    const ThreadedProcess server(Kind::WithoutMainThread);
    ASSERT_TRUE(server.awaitEndOfMainThread());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(codeOf(terminate(m_inventory, server.pid())), KillResultCode::Terminated);
}

TEST_F(ThreadedProcessTest, OwnsWhatOneOfItsThreadsHasForItself)
{
    const ThreadedProcess server(Kind::WithOwnDescriptors);
    EXPECT_EQ(only(list(m_inventory), server.port()).pid, server.pid());
    EXPECT_EQ(owner(server.port()), server.pid());
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(codeOf(terminate(m_inventory, server.pid())), KillResultCode::Terminated);
}

} // namespace
} // namespace Tarnwick
