// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/PortForwarder.h"

#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/OtherUser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

constexpr int notToBeHad = 125;
const std::string id = "3f2a9c1d5b7e4f608192a3b4c5d6e7f80011223344556677889900aabbccddee";

/// A forwarder and a server in another network namespace, each a puppet.
class PortForwarderTest : public InventoryFixture
{
protected:
    /// An address that no other test of this machine uses at this moment.
    [[nodiscard]] static std::string ownAddress()
    {
        const unsigned own = static_cast<unsigned>(::getpid());
        return "10." + std::to_string(own / 62500U % 250U + 1U) + '.' +
               std::to_string(own / 250U % 250U + 1U) + '.' + std::to_string(own % 250U + 1U);
    }

    [[nodiscard]] static std::vector<std::string> dockerProxy(int port, int containerPort)
    {
        return {"/usr/bin/docker-proxy",
                "-proto",
                "tcp",
                "-host-ip",
                "127.0.0.1",
                "-host-port",
                std::to_string(port),
                "-container-ip",
                ownAddress(),
                "-container-port",
                std::to_string(containerPort)};
    }

    /// Makes @p forwarder one of @p program, with the arguments that its port calls for.
    int forward(Puppet &forwarder, const std::filesystem::path &program, int containerPort)
    {
        const int port = forwarder.listen().port;
        forwarder.exec(program, dockerProxy(port, containerPort));
        return port;
    }

    [[nodiscard]] static std::optional<Forwarding> forwardingOn(ListenerInventory &inventory,
                                                                int port)
    {
        Scan scan = inventory.scan({.records = true, .owners = {}, .details = true});
        const auto &found = std::get<ScanResult>(scan);
        for (std::size_t at = 0; at < found.records.size(); ++at) {
            if (found.records[at].port == port) {
                return found.details[at].forwarding;
            }
        }
        return std::nullopt;
    }

    const TemporaryCopy m_copies;
    const std::filesystem::path m_proxy = m_copies.copy(Puppet::program(), "docker-proxy");
};

TEST_F(PortForwarderTest, IsListedWithTheCommandOfTheServerBehindIt)
{
    Puppet server(Puppet::program(), {"postgres", "-D", "/data"});
    if (!server.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    const int containerPort = server.listen().port;
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, containerPort);

    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.pid, forwarder.pid());
    EXPECT_EQ(record.processName, "docker-proxy");
    EXPECT_EQ(record.originArguments,
              (std::vector<std::string>{"postgres -D /data", "via docker-proxy"}));
    const std::optional<Forwarding> found = forwardingOn(m_inventory, port);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->pid, server.pid());
    EXPECT_EQ(found->port, containerPort);
    EXPECT_EQ(only(coldList(), port).originArguments, record.originArguments)
        << "a cold listing differs from a warm one";
}

TEST_F(PortForwarderTest, NamesTheContainerThatTheServerRunsIn)
{
    const auto group = ControlGroup::make("containers");
    const auto container = group ? group->makeBelow("docker-" + id + ".scope") : std::nullopt;
    Puppet server(Puppet::program(), {"postgres"});
    if (!container || !server.enterNetwork(ownAddress()) || !container->take(server.pid())) {
        GTEST_SKIP() << "no control group or network namespace to be had";
    }
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, server.listen().port);
    EXPECT_EQ(only(list(m_inventory), port).originArguments,
              (std::vector<std::string>{"postgres", "in container 3f2a9c1d via docker-proxy"}));
    const std::optional<Forwarding> found = forwardingOn(m_inventory, port);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->container.id, id);
    EXPECT_EQ(found->stopCommand(), "docker stop 3f2a9c1d");

    // Behind it is a container, wherever the forwarder's program lies.
    EXPECT_EQ(codeOf(terminate(m_inventory, forwarder.pid())), KillResultCode::PermissionDenied);
    server.end();
    EXPECT_EQ(codeOf(listAndTerminate(m_inventory, forwarder.pid())), KillResultCode::Terminated);
}

TEST_F(PortForwarderTest, ChoosesTheServerAmongTheProcessesOfItsNamespace)
{
    Puppet init(Puppet::program(), {"tini"});
    if (!init.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet other = init.fork();
    const int otherPort = other.listen().port;
    Puppet server = init.fork();
    const int containerPort = server.listen().port;
    server.exec(Puppet::program(), {"server"});
    Puppet worker = server.fork();
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, containerPort);
    const std::optional<Forwarding> found = forwardingOn(m_inventory, port);
    ASSERT_TRUE(found);
    EXPECT_NE(containerPort, otherPort);
    EXPECT_EQ(found->pid, server.pid());
    EXPECT_EQ(found->command, "server");
}

TEST_F(PortForwarderTest, NamesNoServerWhereNoneOfSeveralListens)
{
    Puppet first;
    if (!first.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet second = first.fork();
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, 80);
    const std::optional<Forwarding> found = forwardingOn(m_inventory, port);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->pid, 0);
    EXPECT_EQ(found->port, 80);
    EXPECT_EQ(only(list(m_inventory), port).originArguments,
              std::vector<std::string>{"via docker-proxy"});
}

TEST_F(PortForwarderTest, FollowsTheServerThatComesInPlaceOfAnother)
{
    Puppet server(Puppet::program(), {"first"});
    if (!server.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet second = server.fork();
    const int containerPort = server.listen().port;
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, containerPort);
    ASSERT_EQ(forwardingOn(m_inventory, port).value_or(Forwarding{}).pid, server.pid());
    server.end();
    second.listen(Puppet::Family::V4, -1, containerPort);
    EXPECT_EQ(forwardingOn(m_inventory, port).value_or(Forwarding{}).pid, second.pid());
}

TEST_F(PortForwarderTest, IsNobodyForANameAlone)
{
    Puppet server;
    if (!server.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet impostor;
    impostor.rename("docker-proxy");
    const int port = forward(impostor, Puppet::program(), server.listen().port);
    EXPECT_EQ(forwardingOf(impostor.pid()), std::nullopt);
    EXPECT_EQ(forwardingOn(m_inventory, port), std::nullopt);
    EXPECT_EQ(codeOf(terminate(m_inventory, impostor.pid())), KillResultCode::Terminated);
}

TEST_F(PortForwarderTest, CanBeEndedWhereItIsNoInstalledProgramAndNoContainerIsBehindIt)
{
    Puppet server;
    if (!server.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet impostor;
    forward(impostor, m_proxy, server.listen().port);
    EXPECT_EQ(forwardingOf(impostor.pid()), std::nullopt);
    EXPECT_EQ(codeOf(listAndTerminate(m_inventory, impostor.pid())), KillResultCode::Terminated);
}

/// Runs @p body in a process of its own, where the puppet's program is installed as @p path.
int whereInstalled(const std::filesystem::path &path, const std::function<int()> &body)
{
    return inOwnProcess([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", path.parent_path().c_str(), "tmpfs", 0, nullptr) != 0) {
            return notToBeHad;
        }
        std::filesystem::copy_file(Puppet::program(), path);
        return body();
    });
}

TEST_F(PortForwarderTest, IsNeverEndedInPlaceOfTheServerWhereItIsInstalled)
{
    const std::filesystem::path installed = "/usr/local/bin/docker-proxy";
    const int result = whereInstalled(installed, [&] {
        Puppet server;
        if (!server.enterNetwork(ownAddress())) {
            return notToBeHad;
        }
        ListenerInventory inventory;
        Puppet forwarder;
        const int port = forward(forwarder, installed, server.listen().port);
        const std::optional<Forwarding> behind =
            forwardingOf(forwarder.pid(), static_cast<std::uint16_t>(port));
        if (!behind || behind->pid != server.pid() ||
            behind->stopCommand() != "kill " + std::to_string(server.pid())) {
            return 1;
        }
        if (codeOf(listAndTerminate(inventory, forwarder.pid())) !=
            KillResultCode::PermissionDenied) {
            return 2;
        }
        server.end();
        return codeOf(listAndTerminate(inventory, forwarder.pid())) == KillResultCode::Terminated
                   ? 0
                   : 3;
    });
    if (result == notToBeHad) {
        GTEST_SKIP() << "no namespaces to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(PortForwarderTest, FindsTheServerBelowAForwarderThatHasItInItsTree)
{
    const std::filesystem::path program = m_copies.copy(Puppet::program(), "rootlessport");
    Puppet forwarder(program, {"rootlessport"});
    // A process of its own in the namespace, as rootlessport has; and the container's.
    Puppet child = forwarder.fork();
    if (!child.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    Puppet server = child.fork();
    const int containerPort = server.listen().port;
    server.exec(Puppet::program(), {"server"});
    const int port = forwarder.listen().port;
    const std::optional<Forwarding> found = forwardingOn(m_inventory, port);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->forwarder, "rootlessport");
    EXPECT_EQ(found->pid, server.pid());
    EXPECT_EQ(found->port, containerPort);
    server.end();
    EXPECT_EQ(forwardingOn(m_inventory, port), std::nullopt) << "only its own process is left";
}

TEST_F(PortForwarderTest, FindsTheServerInTheNamespaceOfAProcessThatItIsGiven)
{
    const std::filesystem::path program = m_copies.copy(Puppet::program(), "slirp4netns");
    Puppet server(Puppet::program(), {"server"});
    if (!server.enterNetwork(ownAddress())) {
        GTEST_SKIP() << "no network namespace to be had";
    }
    server.listen();
    Puppet forwarder(program,
                     {"slirp4netns", "-c", "-r", "4", std::to_string(server.pid()), "tap0"});
    const int port = forwarder.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).originArguments,
              (std::vector<std::string>{"server", "via slirp4netns"}));
}

TEST_F(PortForwarderTest, FindsTheServerInTheNamespaceThatIsMountedAtAFile)
{
    const std::filesystem::path program = m_copies.copy(Puppet::program(), "pasta");
    const std::filesystem::path file = m_copies.folder() / "netns-1";
    const int result = inOwnProcess([&] {
        Puppet server(Puppet::program(), {"server"});
        const std::string source = "/proc/" + std::to_string(server.pid()) + "/ns/net";
        if (!server.enterNetwork(ownAddress()) || ::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::close(::creat(file.c_str(), 0644)) != 0 ||
            ::mount(source.c_str(), file.c_str(), nullptr, MS_BIND, nullptr) != 0) {
            return notToBeHad;
        }
        const int containerPort = server.listen().port;
        Puppet forwarder;
        const int port = forwarder.listen().port;
        forwarder.exec(program, {"pasta", "--config-net", "-t",
                                 std::to_string(port) + ':' + std::to_string(containerPort),
                                 "--netns", file.string()});
        ListenerInventory inventory;
        return forwardingOn(inventory, port).value_or(Forwarding{}).pid == server.pid() ? 0 : 1;
    });
    if (result == notToBeHad) {
        GTEST_SKIP() << "no namespaces to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(PortForwarderTest, KeepsTheOwnCommandOfOneWithNothingBehindIt)
{
    Puppet forwarder;
    const int port = forward(forwarder, m_proxy, 80);
    EXPECT_EQ(forwardingOn(m_inventory, port), std::nullopt);
    EXPECT_EQ(only(list(m_inventory), port).arguments, dockerProxy(port, 80));
}

} // namespace
} // namespace Tarnwick
