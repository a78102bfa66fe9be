// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"

namespace Tarnwick {

/// The place where the known listeners are kept, as the diff engine sees it. Main thread.
class PortRegistry
{
public:
    PortRegistry() = default;
    virtual ~PortRegistry() = default;
    PortRegistry(const PortRegistry &) = delete;
    PortRegistry &operator=(const PortRegistry &) = delete;

    /// Adds @p entry at the end, unless one with the same process identifier and port is there.
    virtual void portOpened(SharedPortEntry entry) = 0;

    /// Removes every entry with the process identifier and port of @p entry.
    virtual void portClosed(const PortEntry &entry) = 0;
};

} // namespace Tarnwick
