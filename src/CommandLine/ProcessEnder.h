// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessIdentity.h"
#include "Helper/ProcessTerminator.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarnwick {

/// What stops a process for the kill command.
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

    /// What the process is that makes it one never to be ended, for people; empty for others.
    [[nodiscard]] virtual std::string protection(std::int32_t pid) const = 0;
};

} // namespace Tarnwick
