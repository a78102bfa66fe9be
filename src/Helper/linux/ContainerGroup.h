// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"

#include <optional>
#include <string_view>

namespace Tarnwick {

/// The containers that control groups stand for, as their runtimes name the groups: Docker, Podman
/// and containerd with either of their group drivers, CRI-O, Kubernetes, LXC, LXD, Incus and
/// systemd-nspawn. What is in two, one in the other, is in the inner one.
class ContainerGroup
{
public:
    ContainerGroup() = delete;

    /// The container that the text of /proc/PID/cgroup names, in any hierarchy (cgroups(7)).
    [[nodiscard]] static std::optional<Container> find(std::string_view text);

    /// The container that the group at @p path, or one of those above it, stands for.
    [[nodiscard]] static std::optional<Container> ofPath(std::string_view path);

    /// Whether @p text is an identifier of a container: 64 hexadecimal digits.
    [[nodiscard]] static bool isIdentifier(std::string_view text);

    /// Whether @p text can be the name of a container, and stand in a command line as it is.
    [[nodiscard]] static bool isName(std::string_view text);
};

} // namespace Tarnwick
