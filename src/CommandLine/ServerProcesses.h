// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/LaunchRole.h"
#include "Helper/ProcessIdentity.h"
#include "Helper/ProcessTerminator.h"
#include "Helper/ProcessTree.h"
#include "Helper/Supervisor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// What the commands find out about the processes around a listener, and what ends them.
class ServerProcesses
{
public:
    ServerProcesses() = default;
    virtual ~ServerProcesses() = default;
    ServerProcesses(const ServerProcesses &) = delete;
    ServerProcesses &operator=(const ServerProcesses &) = delete;

    /// As ProcessTree::read().
    [[nodiscard]] virtual ProcessTree tree() const = 0;

    /// The process that runs this program.
    [[nodiscard]] virtual std::int32_t self() const = 0;

    /// As argumentsOf().
    [[nodiscard]] virtual std::vector<std::string> arguments(std::int32_t pid) const = 0;

    /// As launchRoleOf().
    [[nodiscard]] virtual LaunchRole role(std::int32_t pid) const = 0;

    /// As shareOutput().
    [[nodiscard]] virtual bool sharesOutput(std::int32_t first, std::int32_t second) const = 0;

    /// As supervisorOf().
    [[nodiscard]] virtual std::optional<Supervisor> supervisor(std::int32_t pid) const = 0;

    /// As ProcessTerminator::terminateRelated().
    [[nodiscard]] virtual std::vector<KillAnswer>
    endRelated(std::span<const ProcessIdentity> processes) = 0;
};

} // namespace Tarnwick
