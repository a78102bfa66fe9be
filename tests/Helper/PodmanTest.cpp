// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortForwarder.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace Tarnwick {
namespace {

/// Containers that the real Podman starts; skipped where it is not installed or may not start any,
/// as in a container that gives no control groups.
class PodmanTest : public InventoryFixture, public ::testing::WithParamInterface<const char *>
{
protected:
    ~PodmanTest() override
    {
        if (m_isStarted) {
            static_cast<void>(podman({"rm", "--force", "--time", "0", m_name}));
        }
    }

    /// The status of podman(1), whose storage is the test's own; nothing when it takes too long.
    std::optional<int> podman(const std::vector<std::string> &arguments)
    {
        constexpr std::chrono::seconds maxTime{60};
        std::vector<std::string> command{"podman",    "--root",           path("root"),
                                         "--runroot", path("run"),        "--storage-driver",
                                         "vfs",       "--cgroup-manager", "cgroupfs"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ChildProcess process(command, {.output = path("output")});
        return process.awaitEnd(maxTime);
    }

    /// Starts a container with a server on port 80, of which @p port is published; false where
    /// that is not to be had.
    bool start(const std::string &network, int port)
    {
        for (const char *folder : {"etc", "dev", "proc", "sys", "run", "tmp"}) {
            std::filesystem::create_directories(m_folder.path() / "rootfs" / folder);
        }
        std::vector<std::string> arguments{"run",
                                           "--detach",
                                           "--name",
                                           m_name,
                                           "--cgroups",
                                           "disabled",
                                           "--ulimit",
                                           "nofile=1024:1024",
                                           "--ulimit",
                                           "nproc=1024:1024",
                                           "--network=" + network,
                                           "--publish",
                                           "127.0.0.1:" + std::to_string(port) + ":80"};
        for (const std::string folder : {"/usr", "/lib", "/lib64", "/bin"}) {
            std::filesystem::create_directories(m_folder.path() / "rootfs" / folder.substr(1));
            arguments.insert(arguments.end(), {"--volume", folder + ':' + folder + ":ro"});
        }
        arguments.insert(arguments.end(), {"--rootfs", path("rootfs"), "/usr/bin/python3", "-m",
                                           "http.server", "80"});
        m_isStarted = true;
        return podman(arguments) == 0;
    }

    [[nodiscard]] std::string path(const char *name) const
    {
        return (m_folder.path() / name).string();
    }

    [[nodiscard]] std::string output() const
    {
        std::ostringstream text;
        text << std::ifstream(path("output")).rdbuf();
        return text.str();
    }

    const TemporaryFolder m_folder;
    const std::string m_name = "tarnwick-test-" + std::to_string(::getpid());
    bool m_isStarted = false;
};

TEST_P(PodmanTest, PublishesPortsOfAServerThatIsFoundBehindThem)
{
    if (!std::filesystem::exists("/usr/bin/podman") ||
        !std::filesystem::exists("/usr/bin/python3")) {
        GTEST_SKIP() << "Podman is not installed";
    }
    const int port = Puppet().listen().port;
    if (!start(GetParam(), port)) {
        GTEST_SKIP() << "Podman starts no container here: " << output();
    }
    // The server listens a moment after its container was started.
    constexpr int attempts = 500;
    std::optional<Forwarding> found;
    RawPortInfo record;
    for (int attempt = 0; attempt < attempts && (!found || found->pid == 0); ++attempt) {
        ::usleep(10'000);
        record = only(list(m_inventory), port);
        found =
            forwardingOf(static_cast<std::int32_t>(record.pid), static_cast<std::uint16_t>(port));
    }
    ASSERT_TRUE(found);
    EXPECT_EQ(found->command, "/usr/bin/python3 -m http.server 80");
    EXPECT_EQ(found->port, 80);
    EXPECT_EQ(found->container.name, m_name);
    EXPECT_EQ(found->container.runtime, "podman");
    record = only(coldList(), port);
    ASSERT_FALSE(record.originArguments.empty());
    EXPECT_EQ(record.originArguments.front(), "/usr/bin/python3 -m http.server 80");
    EXPECT_EQ(record.originArguments.back(), "in container " + m_name + " via " + found->forwarder);
    EXPECT_EQ(codeOf(listAndTerminate(m_inventory, static_cast<std::int32_t>(record.pid))),
              KillResultCode::PermissionDenied);
}

INSTANTIATE_TEST_SUITE_P(Networks, PodmanTest,
                         ::testing::Values("slirp4netns:port_handler=rootlesskit",
                                           "slirp4netns:port_handler=slirp4netns", "bridge",
                                           "pasta"),
                         [](const auto &tested) {
                             std::string name = tested.param;
                             std::erase_if(name, [](char one) {
                                 return one == ':' || one == '_' || one == '=';
                             });
                             return name;
                         });

} // namespace
} // namespace Tarnwick
