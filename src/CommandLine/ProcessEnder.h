// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/HelperProtocol.h"

#include <cstdint>

namespace Tarnwick {

/// What stops a process for the kill command.
class ProcessEnder
{
public:
    ProcessEnder() = default;
    virtual ~ProcessEnder() = default;
    ProcessEnder(const ProcessEnder &) = delete;
    ProcessEnder &operator=(const ProcessEnder &) = delete;

    /// Ends the process @p pid of the most recent listing and waits until it has ended.
    [[nodiscard]] virtual KillResult end(std::int32_t pid) = 0;
};

} // namespace Tarnwick
