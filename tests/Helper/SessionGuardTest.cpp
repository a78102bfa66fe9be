// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/SessionGuard.h"

#include "Helper/ProcessTerminator.h"
#include "Helper/linux/SessionSockets.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using Part = SessionGuard::Part;
using testing::ElementsAre;
using testing::IsEmpty;

/// A socket of the UNIX domain that listens at a path, as a display server's does.
FileDescriptor listenAt(const std::string &path)
{
    FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), static_cast<char *>(address.sun_path));
    if (::bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) !=
            0 ||
        ::listen(listener.get(), 4) != 0) {
        return {};
    }
    return listener;
}

/// Nothing of the session in which the tests run.
class SessionGuardTest : public InventoryFixture
{
protected:
    /// The first port on which @p pid listens, awaited.
    int awaitPortOf(pid_t pid)
    {
        constexpr int attempts = 2000;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            for (const RawPortInfo &record : list(m_inventory)) {
                if (record.pid == pid) {
                    return static_cast<int>(record.port);
                }
            }
            ::poll(nullptr, 0, 5);
        }
        ADD_FAILURE() << "process " << pid << " does not listen";
        return 0;
    }

    KillResultCode terminate(pid_t pid)
    {
        return codeOf(InventoryFixture::listAndTerminate(m_inventory, pid));
    }

private:
    ScopedEnvironment m_bus{"DBUS_SESSION_BUS_ADDRESS", std::nullopt};
    ScopedEnvironment m_display{"DISPLAY", std::nullopt};
    ScopedEnvironment m_wayland{"WAYLAND_DISPLAY", std::nullopt};
};

TEST_F(SessionGuardTest, KeepsTheSessionsBusThoughItListensOnAPort)
{
    PrivateBus::Options options;
    options.configuration = "<listen>tcp:host=127.0.0.1,port=0</listen>";
    const PrivateBus bus(options);
    awaitPortOf(bus.pid());
    {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", bus.address() + ",guid=12");
        EXPECT_EQ(SessionGuard::part(bus.pid()), Part::MessageBus);
        EXPECT_EQ(terminate(bus.pid()), KillResultCode::PermissionDenied);
    }
    EXPECT_EQ(SessionGuard::part(bus.pid()), std::nullopt) << "a bus of somebody's own";
    EXPECT_EQ(terminate(bus.pid()), KillResultCode::Terminated);
}

TEST_F(SessionGuardTest, KeepsTheDisplayServerOfTheSessionOnly)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor numberEnd(ends[0]);
    FileDescriptor serverEnd(ends[1]);
    const pid_t server = ::fork();
    if (server == 0) {
        ::dup2(serverEnd.get(), 3);
        ::execlp("Xvfb", "Xvfb", "-displayfd", "3", "-listen", "tcp", "-nolisten", "local",
                 nullptr);
        ::_exit(127);
    }
    serverEnd.reset();
    std::array<char, 16> number{};
    const ssize_t got = ::read(numberEnd.get(), number.data(), number.size() - 1);
    if (got <= 0) {
        ::waitpid(server, nullptr, 0);
        GTEST_SKIP() << "no display server to be had";
    }
    const std::string display = ":" + std::to_string(std::atoi(number.data()));
    awaitPortOf(server);
    {
        const ScopedEnvironment session("DISPLAY", display + ".0");
        EXPECT_EQ(SessionGuard::part(server), Part::DisplayServer);
        EXPECT_EQ(terminate(server), KillResultCode::PermissionDenied);
    }
    EXPECT_EQ(terminate(server), KillResultCode::Terminated);
    ::waitpid(server, nullptr, 0);
}

TEST_F(SessionGuardTest, KnowsTheCompositorByItsSocket)
{
    const TemporaryFolder runtime;
    const std::string path = (runtime.path() / "wayland-7").string();
    const FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    EXPECT_EQ(SessionGuard::part(::getpid()), std::nullopt);
    const ScopedEnvironment folder("XDG_RUNTIME_DIR", runtime.path().string());
    {
        const ScopedEnvironment session("WAYLAND_DISPLAY", "wayland-7");
        EXPECT_EQ(SessionGuard::part(::getpid()), Part::DisplayServer);
        const Puppet bystander;
        EXPECT_EQ(SessionGuard::part(bystander.pid()), std::nullopt);
    }
    const ScopedEnvironment session("WAYLAND_DISPLAY", path);
    EXPECT_EQ(SessionGuard::part(::getpid()), Part::DisplayServer);
}

TEST_F(SessionGuardTest, KnowsWhoWasGivenTheSocketByItsMaker)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    const pid_t heir = ::fork();
    ASSERT_GE(heir, 0);
    if (heir == 0) {
        for (;;) {
            ::pause();
        }
    }
    listener.reset();
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    EXPECT_EQ(SessionGuard::part(heir), Part::MessageBus);
    ::kill(heir, SIGKILL);
    ::waitpid(heir, nullptr, 0);
}

TEST(SessionSocketsTest, ReadsTheAddressOfABus)
{
    EXPECT_THAT(SessionSockets::busNames("unix:path=/run/user/1000/bus"),
                ElementsAre("/run/user/1000/bus"));
    EXPECT_THAT(SessionSockets::busNames("tcp:host=x;unix:guid=1,path=/a%20b;unix:abstract=/c"),
                ElementsAre("/a b", "@/c"));
    EXPECT_THAT(SessionSockets::busNames(""), IsEmpty());
    EXPECT_THAT(SessionSockets::busNames("unix:path=%"), ElementsAre("%"));
}

TEST(SessionSocketsTest, ReadsTheNumberOfADisplayOfThisMachine)
{
    EXPECT_THAT(SessionSockets::displayNames(":1.0"),
                ElementsAre("/tmp/.X11-unix/X1", "@/tmp/.X11-unix/X1"));
    EXPECT_THAT(SessionSockets::displayNames("unix:12"),
                ElementsAre("/tmp/.X11-unix/X12", "@/tmp/.X11-unix/X12"));
    for (const char *const other : {"", ":", "localhost:10.0", ":x", ":1x", "1"}) {
        EXPECT_THAT(SessionSockets::displayNames(other), IsEmpty()) << other;
    }
}

TEST(SessionSocketsTest, FindsOnlyWhatListensAtAnAddress)
{
    const std::string table =
        "Num       RefCount Protocol Flags    Type St Inode Path\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01 12 /run/user/1000/bus\n"
        "0000000000000000: 00000003 00000000 00000000 0001 03 13 /run/user/1000/bus\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01 14 @/tmp/.X11-unix/X1\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01    15 /other path\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01 16\n";
    const auto found =
        SessionSockets::listening(table, {{"/run/user/1000/bus", Part::MessageBus},
                                          {"@/tmp/.X11-unix/X1", Part::DisplayServer},
                                          {"/other path", Part::DisplayServer}});
    EXPECT_THAT(found,
                ElementsAre(std::pair(12U, Part::MessageBus), std::pair(14U, Part::DisplayServer),
                            std::pair(15U, Part::DisplayServer)));
}

} // namespace
} // namespace Tarnwick
