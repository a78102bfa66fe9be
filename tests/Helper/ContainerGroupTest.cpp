// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ContainerGroup.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Tarnwick {
namespace {

const std::string id = "3f2a9c1d5b7e4f608192a3b4c5d6e7f80011223344556677889900aabbccddee";

struct Case
{
    const char *name;
    std::string path;
    Container container;
};

Container withId(const char *runtime, bool isOfUser = false)
{
    return {.id = id, .name = {}, .runtime = runtime, .isOfUser = isOfUser};
}

Container withName(const char *name, const char *runtime, bool isOfUser = false)
{
    return {.id = name, .name = name, .runtime = runtime, .isOfUser = isOfUser};
}

class ContainerGroupTest : public ::testing::TestWithParam<Case>
{
};

TEST_P(ContainerGroupTest, IsNamedAsItsRuntimeNamesGroups)
{
    const std::optional<Container> found = ContainerGroup::ofPath(GetParam().path);
    ASSERT_TRUE(found) << GetParam().path;
    EXPECT_EQ(found->id, GetParam().container.id);
    EXPECT_EQ(found->name, GetParam().container.name);
    EXPECT_EQ(found->runtime, GetParam().container.runtime);
    EXPECT_EQ(found->isOfUser, GetParam().container.isOfUser);
}

const std::string userService = "/user.slice/user-1000.slice/user@1000.service";
const std::string pod = "/kubepods.slice/kubepods-burstable.slice/"
                        "kubepods-burstable-pod2f1f0a1e_5ad3_4f0b_b4f7_aa1be9c6a1c4.slice";

INSTANTIATE_TEST_SUITE_P(
    Runtimes, ContainerGroupTest,
    ::testing::Values(
        Case{"DockerWithSystemd", "/system.slice/docker-" + id + ".scope", withId("docker")},
        Case{"DockerWithCgroupfs", "/docker/" + id, withId("docker")},
        Case{"DockerWithInit", "/docker/" + id + "/init.scope", withId("docker")},
        Case{"DockerWithoutPrivilege", userService + "/user.slice/docker-" + id + ".scope",
             withId("docker", true)},
        Case{"Podman", "/machine.slice/libpod-" + id + ".scope/container", withId("podman")},
        Case{"PodmanWithCgroupfs", "/libpod_parent/libpod-" + id, withId("podman")},
        Case{"PodmanInPod",
             "/machine.slice/machine-libpod_pod_" + id + ".slice/libpod-" + id + ".scope",
             withId("podman")},
        Case{"PodmanWithoutPrivilege",
             userService + "/user.slice/libpod-" + id + ".scope/container", withId("podman", true)},
        Case{"PodmanInService", "/system.slice/web.service/libpod-payload-" + id, withId("podman")},
        Case{"KubernetesWithContainerd", pod + "/cri-containerd-" + id + ".scope",
             withId("kubernetes")},
        Case{"KubernetesWithCrio", pod + "/crio-" + id + ".scope", withId("kubernetes")},
        Case{"KubernetesWithCgroupfs",
             "/kubepods/besteffort/pod2f1f0a1e-5ad3-4f0b-b4f7-aa1be9c6a1c4/" + id,
             withId("kubernetes")},
        Case{"KubernetesWithOtherDriver",
             "/system.slice/containerd.service/kubepods-pod2f1f.slice:cri-containerd:" + id,
             withId("kubernetes")},
        Case{"Nerdctl", "/system.slice/nerdctl-" + id + ".scope", withId("containerd")},
        Case{"Containerd", "/default/" + id, withId("containerd")},
        Case{"UnknownRuntime", "/actions/" + id, withId("")},
        Case{"Lxc", "/lxc.payload.web/system.slice/nginx.service", withName("web", "lxc")},
        Case{"LxcBeforeFour", "/lxc/web", withName("web", "lxc")},
        Case{"Machine", "/machine.slice/machine-deb\\x2d12.scope/payload",
             withName("deb-12", "nspawn")},
        Case{"MachineOfService",
             "/machine.slice/systemd-nspawn@web.service/payload/system.slice/nginx.service",
             withName("web", "nspawn")},
        Case{"InnerOfTwo", "/system.slice/docker-" + std::string(64, 'a') + ".scope/docker/" + id,
             withId("docker")}),
    [](const auto &tested) { return tested.param.name; });

TEST(ContainerGroupTextTest, IsFoundInAnyHierarchy)
{
    const std::optional<Container> found =
        ContainerGroup::find("9:name=systemd:/\n4:memory:/docker/" + id + "\n1:cpu:/\n0::/\n");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, id);
}

TEST(ContainerGroupTextTest, IsNothingForWhatIsInNoContainer)
{
    for (const std::string &path :
         {std::string("/"), std::string("/user.slice/user-1000.slice/session-2.scope"),
          std::string("/system.slice/docker.service"),
          // What watches a container is not in it.
          "/machine.slice/libpod-conmon-" + id + ".scope", std::string("/lxc.monitor.web"),
          // Virtual machines.
          std::string("/machine.slice/machine-qemu\\x2d1\\x2dweb.scope"),
          "/system.slice/docker-" + id.substr(1) + ".scope",
          "/system.slice/docker-" + std::string(64, 'G') + ".scope",
          // Names that could not stand in a command line.
          std::string("/lxc.payload.web; reboot"), std::string("/lxc.payload.-n")}) {
        EXPECT_FALSE(ContainerGroup::ofPath(path)) << path;
    }
    EXPECT_FALSE(ContainerGroup::find(""));
    EXPECT_FALSE(ContainerGroup::find("no colon\n::\n0::\n"));
}

TEST(ContainerTest, IsStoppedByItsRuntime)
{
    EXPECT_EQ(withId("docker").stopCommand(), "docker stop 3f2a9c1d");
    EXPECT_EQ(withId("podman", true).stopCommand(), "podman stop 3f2a9c1d");
    EXPECT_EQ(withId("podman").stopCommand(), "sudo podman stop 3f2a9c1d");
    EXPECT_EQ(withName("web", "nspawn").stopCommand(), "machinectl poweroff web");
    EXPECT_EQ(withName("web", "lxc").stopCommand(), "sudo lxc-stop -n web");
    EXPECT_EQ(withId("").stopCommand(), "");
    EXPECT_EQ(Container{}.stopCommand(), "");
}

TEST(ContainerTest, SaysWhereThePortLeads)
{
    Forwarding forwarding{.forwarder = "docker-proxy", .container = withId("docker")};
    EXPECT_EQ(forwarding.place(), "in container 3f2a9c1d via docker-proxy");
    EXPECT_EQ(forwarding.stopCommand(), "docker stop 3f2a9c1d");
    forwarding.container = {};
    forwarding.pid = 4711;
    EXPECT_EQ(forwarding.place(), "via docker-proxy");
    EXPECT_EQ(forwarding.stopCommand(), "kill 4711");
}

} // namespace
} // namespace Tarnwick
