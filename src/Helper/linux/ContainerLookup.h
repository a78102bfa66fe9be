// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"

#include <optional>
#include <string_view>

#include <sys/types.h>

namespace Tarnwick {

/// Finds the container that a process runs in, from what everybody may read: its control group, and
/// the command line of the monitor (conmon) that Podman starts each container with, which has the
/// container's name. Docker's names are read from its own files where that is allowed. No runtime
/// is asked: whoever may speak to its socket has all of root's privileges.
class ContainerLookup
{
public:
    ContainerLookup() = delete;

    /// The container of @p pid; nothing for processes in none. @p root is /proc.
    [[nodiscard]] static std::optional<Container> of(int root, pid_t pid);

    /// The same where @p groups, the text of PID/cgroup, has been read already, by that alone: one
    /// that Podman was told to start without a control group of its own is not found.
    [[nodiscard]] static std::optional<Container> ofGroups(int root, pid_t pid,
                                                           std::string_view groups);

    /// The name in the text of Docker's config.v2.json of a container; empty where there is none.
    [[nodiscard]] static std::string_view nameInDockerConfiguration(std::string_view text);
};

} // namespace Tarnwick
