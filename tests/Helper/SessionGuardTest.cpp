// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/SessionGuard.h"

#include "Helper/ProcessTerminator.h"
#include "Helper/linux/UnixListeners.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using Part = SessionGuard::Part;

/// A socket of the UNIX domain that listens at a path, as a display server's does, or at a NUL and
/// an abstract name.
FileDescriptor listenAt(std::string_view name)
{
    FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), static_cast<char *>(address.sun_path));
    const std::size_t size = offsetof(sockaddr_un, sun_path) + name.size();
    if (::bind(listener.get(), reinterpret_cast<const sockaddr *>(&address),
               static_cast<socklen_t>(size)) != 0 ||
        ::listen(listener.get(), 4) != 0) {
        return {};
    }
    return listener;
}

/// A process that has inherited what this one has open, and does nothing.
class Heir
{
public:
    Heir()
        : m_pid(::fork())
    {
        if (m_pid == 0) {
            for (;;) {
                ::pause();
            }
        }
        if (m_pid < 0) {
            throw std::runtime_error("no process to be had");
        }
    }
    ~Heir()
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Heir(const Heir &) = delete;
    Heir &operator=(const Heir &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }

private:
    pid_t m_pid;
};

/// Something that listens where a session's message bus would.
class StandInBus
{
public:
    StandInBus()
        : m_listener(listenAt((m_folder.path() / "bus").string()))
    {
        m_holder.emplace();
        m_listener.reset();
    }

    [[nodiscard]] std::string address() const
    {
        return "unix:path=" + (m_folder.path() / "bus").string();
    }

private:
    TemporaryFolder m_folder;
    FileDescriptor m_listener;
    std::optional<Heir> m_holder;
};

/// Gives the calling process, which is one of its own, a /tmp/.X11-unix and a /run/user/UID that
/// nothing is in. False where this user may not.
bool haveFoldersOfOwn()
{
    const std::string runtime = "/run/user/" + std::to_string(::getuid());
    std::error_code failed;
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           std::filesystem::is_directory("/tmp/.X11-unix", failed) &&
           std::filesystem::is_directory("/run/user", failed) &&
           ::mount("none", "/tmp/.X11-unix", "tmpfs", 0, nullptr) == 0 &&
           ::mount("none", "/run/user", "tmpfs", 0, nullptr) == 0 &&
           ::mkdir(runtime.c_str(), 0700) == 0;
}

/// Mounts a file system at @p folder of which every question stays unanswered while the descriptor
/// is open.
FileDescriptor mountWithoutAnswers(const std::string &folder)
{
    FileDescriptor device(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
    const std::string options =
        "fd=" + std::to_string(device.get()) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    return device && ::mount("tarnwick-test", folder.c_str(), "fuse", MS_NOSUID | MS_NODEV,
                             options.c_str()) == 0
               ? std::move(device)
               : FileDescriptor();
}

/// In a session of which nothing runs but something in the place of its bus, and nothing of the one
/// in which the tests run.
class SessionGuardTest : public InventoryFixture
{
protected:
    void SetUp() override
    {
        if (std::holds_alternative<SystemFailures::Failure>(UnixListeners::list())) {
            GTEST_SKIP() << "the kernel does not tell which UNIX socket listens where";
        }
    }

    [[nodiscard]] std::string sessionBus() const { return m_standIn.address(); }

    static bool hasUsersBus()
    {
        return std::filesystem::exists("/run/user/" + std::to_string(::getuid()) + "/bus");
    }

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

    static constexpr int unavailable = 125;

    /// The part that a process is; a failure of the test where that is not known.
    static std::optional<Part> part(pid_t pid)
    {
        const SessionGuard::Answer answer = SessionGuard::part(pid);
        if (const auto *failure = std::get_if<SessionGuard::Failure>(&answer)) {
            ADD_FAILURE() << failure->message;
            return std::nullopt;
        }
        return std::get<std::optional<Part>>(answer);
    }

    /// The errno for which it is not known whether a process is a part, while each @p call fails
    /// with @p code; 0 where it is known.
    static int failureWhile(long call, int code, pid_t pid)
    {
        return inOwnProcess([=] {
            try {
                const std::array<long, 1> watched{call};
                FailingCalls calls(watched);
                calls.failEach(call, code);
                const SessionGuard::Answer answer = SessionGuard::part(pid);
                const auto *failure = std::get_if<SessionGuard::Failure>(&answer);
                return failure != nullptr ? failure->code : 0;
            } catch (const std::runtime_error &) {
                return unavailable;
            }
        });
    }

private:
    StandInBus m_standIn;
    ScopedEnvironment m_bus{"DBUS_SESSION_BUS_ADDRESS", m_standIn.address()};
    ScopedEnvironment m_starter{"DBUS_STARTER_ADDRESS", std::nullopt};
    ScopedEnvironment m_display{"DISPLAY", std::nullopt};
    ScopedEnvironment m_wayland{"WAYLAND_DISPLAY", "/nowhere/wayland-0"};
};

TEST_F(SessionGuardTest, KeepsTheSessionsBusThoughItListensOnAPort)
{
    PrivateBus::Options options;
    options.configuration = "<listen>tcp:host=127.0.0.1,port=0</listen>";
    const PrivateBus bus(options);
    awaitPortOf(bus.pid());
    {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", bus.address() + ",guid=12");
        EXPECT_EQ(part(bus.pid()), Part::MessageBus);
        EXPECT_EQ(terminate(bus.pid()), KillResultCode::PermissionDenied);
    }
    EXPECT_EQ(part(bus.pid()), std::nullopt) << "a bus of somebody's own";
    EXPECT_EQ(terminate(bus.pid()), KillResultCode::Terminated);
}

TEST_F(SessionGuardTest, KeepsTheSessionsBusThatIsReachedOverTcp)
{
    PrivateBus::Options options;
    options.configuration = "<listen>tcp:host=127.0.0.1,port=0</listen>";
    const PrivateBus bus(options);
    const std::string port = std::to_string(awaitPortOf(bus.pid()));
    for (const std::string host :
         {"host=localhost,", "host=127.0.0.1,", "host=127.1,", "host=localhost.,",
          "host=bus.localhost,", "host=of-this-machine.invalid,", ""}) {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS",
                                        "tcp:" + host + "port=" + port + ",family=ipv4");
        EXPECT_EQ(part(bus.pid()), Part::MessageBus) << host;
        EXPECT_EQ(terminate(bus.pid()), KillResultCode::PermissionDenied);
    }
    const ScopedEnvironment elsewhere("DBUS_SESSION_BUS_ADDRESS",
                                      "tcp:host=192.0.2.1,port=" + port + ";" + sessionBus());
    EXPECT_EQ(part(bus.pid()), std::nullopt);
}

TEST_F(SessionGuardTest, KeepsEachBusWhereNothingNamesTheSessions)
{
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const PrivateBus bus;
    if (hasUsersBus()) {
        GTEST_SKIP() << "this user has a bus";
    }
    EXPECT_EQ(part(bus.pid()), Part::MessageBus);
}

TEST_F(SessionGuardTest, KeepsEachBusWhereNothingListensAtTheAddressOfTheSessions)
{
    if (hasUsersBus()) {
        GTEST_SKIP() << "this user has a bus";
    }
    const TemporaryFolder folder;
    const std::string closed = (folder.path() / "bus").string();
    ASSERT_TRUE(listenAt(closed));
    const PrivateBus bus;
    const std::string own = bus.address();
    std::filesystem::remove(own.substr(own.find('/')));
    Puppet server;
    const std::string port = std::to_string(server.listen().port);
    for (const std::string &address :
         {own, std::string("unix:path=/nowhere/bus"), "unix:path=" + closed,
          std::string("unix:abstract=/nowhere/bus"), "tcp:host=192.0.2.1,port=" + port,
          "tcp:host=elsewhere.invalid,port=" + port}) {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", address);
        EXPECT_EQ(part(bus.pid()), Part::MessageBus) << address;
    }
}

TEST_F(SessionGuardTest, NeverWaitsForAFileSystemThatSomebodyLinksToOrMounts)
{
    constexpr int secondsOfPatience = 60;
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const ScopedEnvironment unknown("WAYLAND_DISPLAY", std::nullopt);
    const TemporaryFolder folder;
    const std::string mounted = folder.path().string();
    const std::string target = mounted + "/any";
    const Puppet server;
    const std::string runtime = "/run/user/" + std::to_string(::getuid());
    const int result = inOwnProcess([&] {
        ::alarm(secondsOfPatience);
        FileDescriptor device;
        if (!haveFoldersOfOwn() || !(device = mountWithoutAnswers(mounted))) {
            return unavailable;
        }
        const bool areLinked = ::symlink(target.c_str(), "/tmp/.X11-unix/X7") == 0 &&
                               ::symlink(target.c_str(), (runtime + "/wayland-7").c_str()) == 0 &&
                               ::symlink(target.c_str(), (runtime + "/bus").c_str()) == 0;
        if (!areLinked || part(server.pid())) {
            return 1;
        }
        ::unlink((runtime + "/bus").c_str());
        for (const std::string &place :
             {std::string("/tmp/.X11-unix/X8"), runtime + "/wayland-8", runtime + "/bus"}) {
            if (::mkdir(place.c_str(), 0700) != 0 ||
                ::mount(mounted.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0) {
                return 2;
            }
        }
        if (part(server.pid())) {
            return 3;
        }
        const FileDescriptor compositor = listenAt(runtime + "/wayland-1");
        return part(::getpid()) == Part::DisplayServer ? 0 : 4;
    });
    if (result == unavailable) {
        GTEST_SKIP() << "this user cannot mount file systems";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(SessionGuardTest, FollowsALinkOnlyWhereTheEnvironmentNamesIt)
{
    const ScopedEnvironment unknown("WAYLAND_DISPLAY", std::nullopt);
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "socket").string();
    const std::string link = "/run/user/" + std::to_string(::getuid()) + "/wayland-7";
    const int result = inOwnProcess([&] {
        if (!haveFoldersOfOwn()) {
            return unavailable;
        }
        const FileDescriptor listener = listenAt(path);
        if (!listener || ::symlink(path.c_str(), link.c_str()) != 0 || part(::getpid())) {
            return 1;
        }
        const ScopedEnvironment named("WAYLAND_DISPLAY", link);
        return part(::getpid()) == Part::DisplayServer ? 0 : 2;
    });
    if (result == unavailable) {
        GTEST_SKIP() << "this user cannot mount file systems";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(SessionGuardTest, FailsWhereMoreSocketsAreInTheFoldersThanItChecks)
{
    constexpr int some = 300;
    const ScopedEnvironment unknown("WAYLAND_DISPLAY", std::nullopt);
    const Puppet server;
    const int result = inOwnProcess([&] {
        if (!haveFoldersOfOwn()) {
            return unavailable;
        }
        const std::string first = "/tmp/.X11-unix/X1000";
        if (::mknod(first.c_str(), S_IFSOCK | 0600, 0) != 0) {
            return 1;
        }
        for (int display = 1; display < some; ++display) {
            const std::string name = "/tmp/.X11-unix/X" + std::to_string(1000 + display);
            if (::link(first.c_str(), name.c_str()) != 0) {
                return 2;
            }
        }
        const SessionGuard::Answer links = SessionGuard::part(server.pid());
        for (int display = 0; display < some; ++display) {
            const std::string name = "/tmp/.X11-unix/X" + std::to_string(2000 + display);
            if (::mknod(name.c_str(), S_IFSOCK | 0600, 0) != 0) {
                return 3;
            }
        }
        const SessionGuard::Answer sockets = SessionGuard::part(server.pid());
        const auto *failure = std::get_if<SessionGuard::Failure>(&sockets);
        const bool isRight = std::get_if<std::optional<Part>>(&links) != nullptr &&
                             !*std::get_if<std::optional<Part>>(&links) && failure != nullptr &&
                             failure->code == E2BIG;
        return isRight ? 0 : 4;
    });
    if (result == unavailable) {
        GTEST_SKIP() << "this user cannot mount file systems";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(SessionGuardTest, KeepsTheDisplayServerOfTheSessionOnly)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor numberEnd(ends[0]);
    FileDescriptor serverEnd(ends[1]);
    const pid_t server = ::fork();
    ASSERT_GE(server, 0);
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
        EXPECT_EQ(part(server), Part::DisplayServer);
        EXPECT_EQ(terminate(server), KillResultCode::PermissionDenied);
    }
    if (std::filesystem::is_socket("/tmp/.X11-unix/X" + display.substr(1))) {
        const ScopedEnvironment unknown("WAYLAND_DISPLAY", std::nullopt);
        EXPECT_EQ(part(server), Part::DisplayServer) << "nothing names the session's display";
    }
    // On a busy machine it does not end by the first signal within the fixture's short time.
    EXPECT_THAT(terminate(server),
                testing::AnyOf(KillResultCode::Terminated, KillResultCode::ForceKilled));
    ::waitpid(server, nullptr, 0);
}

TEST_F(SessionGuardTest, KnowsTheCompositorByItsSocket)
{
    const TemporaryFolder runtime;
    const std::string path = (runtime.path() / "wayland-7").string();
    const FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    EXPECT_EQ(part(::getpid()), std::nullopt);
    const ScopedEnvironment folder("XDG_RUNTIME_DIR", runtime.path().string());
    {
        const ScopedEnvironment session("WAYLAND_DISPLAY", "wayland-7");
        EXPECT_EQ(part(::getpid()), Part::DisplayServer);
        const Puppet bystander;
        EXPECT_EQ(part(bystander.pid()), std::nullopt);
    }
    const ScopedEnvironment session("WAYLAND_DISPLAY", path);
    EXPECT_EQ(part(::getpid()), Part::DisplayServer);
}

TEST_F(SessionGuardTest, KnowsWhoWasGivenTheSocketByItsMaker)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    const Heir heir;
    listener.reset();
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    EXPECT_EQ(part(heir.pid()), Part::MessageBus);
}

TEST_F(SessionGuardTest, KnowsTheSocketByItsFileHoweverItsPathIsWritten)
{
    const TemporaryFolder folder;
    const std::filesystem::path real = folder.path() / "real";
    const std::filesystem::path link = folder.path() / "link";
    std::filesystem::create_directory(real);
    std::filesystem::create_directory_symlink(real, link);
    FileDescriptor listener = listenAt((real / "bus").string());
    ASSERT_TRUE(listener);
    const Heir heir;
    listener.reset();
    for (const std::string &path :
         {real.string() + "//bus", link.string() + "/bus", real.string() + "/../link/./bus"}) {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
        EXPECT_EQ(part(heir.pid()), Part::MessageBus) << path;
    }
}

TEST_F(SessionGuardTest, KnowsAnAbstractNameByItsBytes)
{
    const std::string name = "tarnwick\n" + std::to_string(::getpid());
    FileDescriptor listener = listenAt(std::string(1, '\0') + name);
    FileDescriptor other = listenAt(std::string(1, '\0') + name + '\0');
    ASSERT_TRUE(listener && other);
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS",
                                    "unix:abstract=tarnwick%0a" + std::to_string(::getpid()));
    listener.reset();
    {
        const Heir heirOfOther;
        other.reset();
        EXPECT_EQ(part(heirOfOther.pid()), std::nullopt);
    }
    listener = listenAt(std::string(1, '\0') + name);
    const Heir heir;
    listener.reset();
    EXPECT_EQ(part(heir.pid()), Part::MessageBus);
}

TEST_F(SessionGuardTest, IsNotDeceivedByALineInAnAbstractName)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    const FileDescriptor bus = listenAt(path);
    Puppet server;
    const Puppet::Listener listener = server.listen();
    struct stat status = {};
    ASSERT_EQ(::fstat(server.give(listener.descriptor).get(), &status), 0);
    const FileDescriptor forged = listenAt(std::string(1, '\0') + "\n0: 2 0 00010000 1 1 " +
                                           std::to_string(status.st_ino) + " " + path);
    ASSERT_TRUE(bus && forged);
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    EXPECT_EQ(part(server.pid()), std::nullopt);
    EXPECT_EQ(terminate(server.pid()), KillResultCode::Terminated);
}

TEST_F(SessionGuardTest, KnowsWhoForwardsADisplayOverTcp)
{
    constexpr int firstPort = 6000;
    Puppet forwarder;
    const int display = forwarder.listen().port - firstPort;
    ASSERT_GT(display, 0);
    const Puppet bystander;
    for (const std::string host : {"localhost", "127.0.0.1", "[::1]", "tcp/localhost"}) {
        const ScopedEnvironment session("DISPLAY", host + ":" + std::to_string(display) + ".0");
        EXPECT_EQ(part(forwarder.pid()), Part::DisplayServer) << host;
        EXPECT_EQ(part(bystander.pid()), std::nullopt);
    }
    EXPECT_EQ(part(forwarder.pid()), std::nullopt);
}

TEST_F(SessionGuardTest, SaysThatItCouldNotFindOutWhatAProcessIs)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    const Heir heir;
    listener.reset();
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    for (const long call : {SYS_openat, SYS_getdents64, SYS_readlinkat, SYS_pread64}) {
        const int code = failureWhile(call, ENOMEM, heir.pid());
        if (code == unavailable) {
            GTEST_SKIP() << "no filter of system calls to be had";
        }
        EXPECT_NE(code, 0) << "system call " << call;
    }
}

TEST_F(SessionGuardTest, FailsWhereAProcessHasMoreDescriptorsThanItHasTimeFor)
{
    const Puppet server;
    const SessionGuard::Answer answer =
        SessionGuard::part(server.pid(), std::chrono::milliseconds(0));
    const auto *failure = std::get_if<SessionGuard::Failure>(&answer);
    ASSERT_NE(failure, nullptr);
    EXPECT_EQ(failure->code, ETIME);
    EXPECT_NE(failure->message.find("too many descriptors"), std::string::npos) << failure->message;
}

TEST_F(SessionGuardTest, SaysWhichSystemCallFailed)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    FileDescriptor listener = listenAt(path);
    FileDescriptor port(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_TRUE(listener && port && ::listen(port.get(), 1) == 0);
    const Heir heir;
    listener.reset();
    port.reset();
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    for (const auto &[code, reason] :
         {std::pair(EPERM, "socket(AF_NETLINK): "), std::pair(EMFILE, "socket(AF_UNIX): ")}) {
        const int result = inOwnProcess([code = code, reason = reason, &heir] {
            try {
                ListenerInventory inventory;
                static_cast<void>(list(inventory));
                constexpr std::array<long, 1> watched{SYS_socket};
                FailingCalls calls(watched);
                calls.failEach(SYS_socket, code);
                const KillAnswer answer = InventoryFixture::terminate(inventory, heir.pid());
                const auto *error = std::get_if<KillError>(&answer);
                const std::string expected = std::string(reason) + std::strerror(code);
                if (error != nullptr && error->code == code && error->message.ends_with(expected)) {
                    return 0;
                }
                std::cerr << (error != nullptr ? error->message : "no error") << '\n';
                return 1;
            } catch (const std::runtime_error &) {
                return unavailable;
            }
        });
        if (result == unavailable) {
            GTEST_SKIP() << "no filter of system calls to be had";
        }
        EXPECT_EQ(result, 0) << std::strerror(code);
    }
    EXPECT_EQ(::kill(heir.pid(), 0), 0) << "it may be the bus";
}

TEST_F(SessionGuardTest, FailsWhereTheKernelCannotTellWhichSocketListensAtAnAddress)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    const Puppet bystander;
    FileDescriptor listener = listenAt(path);
    ASSERT_TRUE(listener);
    const Heir heir;
    listener.reset();
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    // A kernel without the module answers that there is no such entry.
    const int code = failureWhile(SYS_sendto, ENOENT, heir.pid());
    if (code == unavailable) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(code, EOPNOTSUPP);
    EXPECT_EQ(failureWhile(SYS_sendto, ENOENT, bystander.pid()), 0) << "it listens at no address";
}

TEST_F(SessionGuardTest, KnowsWithoutTheKernelsDiagnosticsThatNobodyListensAtAnAddress)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    ASSERT_TRUE(listenAt(path)); // at once closed
    const FileDescriptor other = listenAt((folder.path() / "other").string());
    ASSERT_TRUE(other);
    const Heir heir;
    const std::string abstractName = "tarnwick-nobody-" + std::to_string(::getpid());
    for (const std::string &address : {"unix:path=" + path, "unix:abstract=" + abstractName}) {
        const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", address);
        const int code = failureWhile(SYS_sendto, ENOENT, heir.pid());
        if (code == unavailable) {
            GTEST_SKIP() << "no filter of system calls to be had";
        }
        EXPECT_EQ(code, 0) << address;
    }
}

TEST_F(SessionGuardTest, LeavesAProcessAliveThatMayBeAPartOfTheSession)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "bus").string();
    ASSERT_TRUE(listenAt(path)); // at once closed, so that only a connection would tell
    const ScopedEnvironment session("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    Puppet server;
    server.listen();
    const int result = inOwnProcess([&server] {
        try {
            ListenerInventory inventory;
            static_cast<void>(list(inventory));
            constexpr std::array<long, 1> watched{SYS_connect};
            FailingCalls calls(watched);
            calls.failEach(SYS_connect, ENOMEM);
            const KillAnswer answer = InventoryFixture::terminate(inventory, server.pid());
            const auto *error = std::get_if<KillError>(&answer);
            return error != nullptr ? error->code : 0;
        } catch (const std::runtime_error &) {
            return unavailable;
        }
    });
    if (result == unavailable) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(result, ENOMEM);
    EXPECT_FALSE(server.hasEnded());
}

} // namespace
} // namespace Tarnwick
