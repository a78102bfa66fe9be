// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForwarderCommand.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {
namespace {

using Program = ForwarderCommand::Program;

const std::string id = "e6091a8460cf8219359d7a9bec8054e936800ff3decb08c2f39f25e3d231ca72";

/// The arguments that single blanks separate.
std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> arguments;
    while (!text.empty()) {
        const std::size_t blank = text.find(' ');
        arguments.emplace_back(text.substr(0, blank));
        text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
    }
    return arguments;
}

std::optional<ForwarderCommand> parse(Program program, std::string_view text,
                                      std::uint16_t port = 8080)
{
    return ForwarderCommand::parse(program, split(text), port);
}

/// What the programs are started with: docker-proxy by Docker 20 to 28, the others by Podman 4 and
/// 5 and by hand.
TEST(ForwarderCommandTest, ReadsDockerProxy)
{
    const auto found = parse(Program::DockerProxy,
                             "/usr/bin/docker-proxy -proto tcp -host-ip 0.0.0.0 -host-port 8080 "
                             "-container-ip 172.17.0.2 -container-port 80");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->address, "172.17.0.2");
    EXPECT_EQ(found->port, 80);
    const auto recent =
        parse(Program::DockerProxy, "/usr/bin/docker-proxy -proto tcp -host-ip :: -host-port 8080 "
                                    "-container-ip fd00::2 -container-port 80 -use-listen-fd");
    ASSERT_TRUE(recent);
    EXPECT_EQ(recent->address, "fd00::2");
}

TEST(ForwarderCommandTest, RefusesWhatDoesNotForwardThePort)
{
    EXPECT_FALSE(parse(Program::DockerProxy, "docker-proxy"));
    EXPECT_FALSE(parse(Program::DockerProxy,
                       "docker-proxy -proto udp -host-ip 0.0.0.0 -host-port 8080 "
                       "-container-ip 172.17.0.2 -container-port 80"));
    EXPECT_FALSE(parse(Program::DockerProxy,
                       "docker-proxy -proto tcp -host-ip 0.0.0.0 -host-port 8081 "
                       "-container-ip 172.17.0.2 -container-port 80"));
    EXPECT_FALSE(parse(Program::DockerProxy,
                       "docker-proxy -proto tcp -host-port 8080 -container-ip 172.17.0.2 "
                       "-container-port 99999"));
    EXPECT_FALSE(parse(Program::DockerProxy, "docker-proxy -container-ip"));
    EXPECT_FALSE(parse(Program::Conmon, "/usr/bin/conmon --version"));
    EXPECT_FALSE(parse(Program::Conmon, "/usr/bin/conmon -c ../../etc -n web"));
}

TEST(ForwarderCommandTest, ReadsSlirp4netnsAsPodmanStartsIt)
{
    const auto found = parse(
        Program::Slirp4netns,
        "/usr/bin/slirp4netns --disable-host-loopback --mtu=65520 --enable-sandbox "
        "--enable-seccomp --enable-ipv6 -c -e 3 -r 4 --api-socket /run/libpod/" +
            id +
            ".net --netns-type=path /run/netns/netns-9f3b3151-2a20-0d86-6119-443069ad2abc tap0");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->namespaceFile, "/run/netns/netns-9f3b3151-2a20-0d86-6119-443069ad2abc");
    EXPECT_EQ(found->containerId, id);
    EXPECT_EQ(found->target, 0);
    EXPECT_EQ(found->port, 0);
}

TEST(ForwarderCommandTest, ReadsSlirp4netnsThatIsStartedByHand)
{
    const auto found =
        parse(Program::Slirp4netns, "slirp4netns --configure --mtu=65520 --ready-fd 5 4711 tap0");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->target, 4711);
    EXPECT_EQ(found->namespaceFile, "");
    const auto ofProcess =
        parse(Program::Slirp4netns, "slirp4netns -c --netns-type=path /proc/4711/ns/net tap0");
    ASSERT_TRUE(ofProcess);
    EXPECT_EQ(ofProcess->target, 4711);
}

TEST(ForwarderCommandTest, ReadsPastaAsPodmanStartsIt)
{
    const auto found =
        parse(Program::Pasta,
              "/usr/bin/pasta --config-net -t 127.0.0.1/9000-9001:90-91 -t 8080-8081:80-81 "
              "--dns-forward 169.254.1.1 -u none -T none -U none --no-map-gw --quiet --netns "
              "/run/user/1000/netns/netns-1c2d --map-guest-addr 169.254.1.2",
              8081);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->namespaceFile, "/run/user/1000/netns/netns-1c2d");
    EXPECT_EQ(found->port, 81);
    EXPECT_EQ(found->target, 0);
}

TEST(ForwarderCommandTest, ReadsPastaThatIsStartedByHand)
{
    const auto ofProcess = parse(Program::Pasta, "pasta --config-net -t 8080:80,8443 4711");
    ASSERT_TRUE(ofProcess);
    EXPECT_EQ(ofProcess->target, 4711);
    EXPECT_EQ(ofProcess->port, 80);
    const auto same = parse(Program::Pasta, "pasta --tcp-ports=8000-8090 -f 4711");
    ASSERT_TRUE(same);
    EXPECT_EQ(same->port, 8080);
    const auto named = parse(Program::Pasta, "pasta -t auto --netns shop");
    ASSERT_TRUE(named);
    EXPECT_EQ(named->namespaceFile, "/run/netns/shop");
    EXPECT_EQ(named->port, 0);
}

TEST(ForwarderCommandTest, TakesNoNumberOfACommandForAProcess)
{
    for (const std::string_view text :
         {"pasta -t 8080", "pasta -t 8080 -- python3 -m http.server 8080",
          "pasta --config-net python3 -m http.server 8080", "pasta -t 8080 -m 1500"}) {
        const auto found = parse(Program::Pasta, text);
        ASSERT_TRUE(found) << text;
        EXPECT_EQ(found->target, 0) << text;
    }
}

TEST(ForwarderCommandTest, ReadsConmon)
{
    const auto found =
        parse(Program::Conmon,
              "/usr/bin/conmon --api-version 1 -c " + id + " -u " + id +
                  " -r /usr/bin/crun -b /var/lib/containers/storage/overlay-containers/" + id +
                  "/userdata -p /run/containers/storage/overlay-containers/" + id +
                  "/userdata/pidfile -n web --exit-dir /run/libpod/exits --full-attach");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->containerId, id);
    EXPECT_EQ(found->containerName, "web");
}

TEST(ForwarderCommandTest, KnowsThePrograms)
{
    EXPECT_EQ(ForwarderCommand::programAt("/usr/sbin/docker-proxy"), Program::DockerProxy);
    EXPECT_EQ(ForwarderCommand::programAt("/usr/lib/podman/rootlessport"), Program::RootlessPort);
    EXPECT_EQ(ForwarderCommand::programAt("/usr/bin/passt.avx2"), Program::Pasta);
    EXPECT_EQ(ForwarderCommand::programAt("/usr/bin/docker-proxy-2"), std::nullopt);
    EXPECT_EQ(ForwarderCommand::programAt("/usr/bin/conmon/"), std::nullopt);
    EXPECT_EQ(ForwarderCommand::programAt(""), std::nullopt);
}

} // namespace
} // namespace Tarnwick
