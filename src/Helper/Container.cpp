// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/Container.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace Tarnwick {

namespace {

struct StopCommand
{
    std::string_view runtime;
    std::string_view command;
    bool needsRoot = false; ///< where it is not a user's own
};

/// docker(1) goes through a daemon that checks its callers itself; incus and lxd do as well.
constexpr std::array<StopCommand, 8> stopCommands{{
    {"docker", "docker stop "},
    {"podman", "podman stop ", true},
    {"kubernetes", "crictl stop ", true},
    {"containerd", "nerdctl stop ", true},
    {"lxc", "lxc-stop -n ", true},
    {"lxd", "lxc stop "},
    {"incus", "incus stop "},
    {"nspawn", "machinectl poweroff "},
}};

} // namespace

std::string Container::title() const
{
    constexpr std::size_t shortSize = 8;
    return name.empty() ? id.substr(0, shortSize) : name;
}

std::string Container::stopCommand() const
{
    const auto found =
        std::find_if(stopCommands.begin(), stopCommands.end(),
                     [this](const StopCommand &stop) { return stop.runtime == runtime; });
    if (found == stopCommands.end() || id.empty()) {
        return {};
    }
    return (found->needsRoot && !isOfUser ? "sudo " : "") + std::string(found->command) + title();
}

std::string Forwarding::place() const
{
    const std::string via = "via " + forwarder;
    return container.id.empty() ? via : "in container " + container.title() + ' ' + via;
}

std::string Forwarding::stopCommand() const
{
    const std::string stop = container.stopCommand();
    return stop.empty() && pid > 0 ? "kill " + std::to_string(pid) : stop;
}

} // namespace Tarnwick
