// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessAncestry.h"
#include "Helper/ProcessIdentity.h"
#include "Helper/ProcessTerminator.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

    /// The ancestors of @p pid at this moment, its parent first; empty when they are not known.
    [[nodiscard]] virtual std::vector<Ancestor> ancestors(std::int32_t pid) const = 0;
};

} // namespace Tarnwick
