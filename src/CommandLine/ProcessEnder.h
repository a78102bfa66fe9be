// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Helper/ProcessAncestry.h"
#include "Helper/ProcessIdentity.h"
#include "Helper/ProcessTerminator.h"
#include "Helper/Supervisor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

/// The end of a process that was begun and is waited for, as Termination has it.
class PendingEnd
{
public:
    PendingEnd() = default;
    virtual ~PendingEnd() = default;
    PendingEnd(const PendingEnd &) = delete;
    PendingEnd &operator=(const PendingEnd &) = delete;

    /// Readable when the process has ended.
    [[nodiscard]] virtual int descriptor() const = 0;
    [[nodiscard]] virtual std::chrono::steady_clock::time_point deadline() const = 0;
    /// The answer, once there is one.
    [[nodiscard]] virtual std::optional<KillAnswer> advance() = 0;
};

/// What stops processes for the commands.
class ProcessEnder
{
public:
    ProcessEnder() = default;
    virtual ~ProcessEnder() = default;
    ProcessEnder(const ProcessEnder &) = delete;
    ProcessEnder &operator=(const ProcessEnder &) = delete;

    /// Which process the most recent listing names as @p pid.
    [[nodiscard]] virtual std::optional<ProcessIdentity> identity(std::int32_t pid) const = 0;

    /// Ends that very process and waits until it has ended; `NotFound` when another one has its
    /// identifier by now. An error when it lives on, or nothing could be done to it.
    [[nodiscard]] virtual KillAnswer end(const ProcessIdentity &process) = 0;

    /// The same without the wait; the answer where there is nothing to wait for.
    using StartedEnd = std::variant<std::unique_ptr<PendingEnd>, KillAnswer>;
    [[nodiscard]] virtual StartedEnd startEnd(const ProcessIdentity &process) = 0;

    /// What the process is that makes it one never to be ended, for people; empty for others.
    [[nodiscard]] virtual std::string protection(std::int32_t pid) const = 0;

    /// What @p pid forwards its ports to, where it is a forwarder, as forwardingOf() has it.
    [[nodiscard]] virtual std::optional<Forwarding> forwarding(std::int32_t pid) const = 0;

    /// What would start @p pid again, as supervisorOf() has it.
    [[nodiscard]] virtual std::optional<Supervisor> supervisor(std::int32_t pid) const = 0;

    /// What has started @p pid in place of a process with the ancestors @p former, as restarterOf()
    /// has it.
    [[nodiscard]] virtual std::optional<Supervisor>
    restarter(std::int32_t pid, std::span<const std::int32_t> former) const = 0;

    /// The ancestors of @p pid at this moment, its parent first; empty when they are not known.
    [[nodiscard]] virtual std::vector<Ancestor> ancestors(std::int32_t pid) const = 0;
};

} // namespace Tarnwick
