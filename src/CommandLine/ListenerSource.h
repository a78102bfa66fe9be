// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"

namespace Tarnwick {

/// Where the commands get the listening sockets from.
class ListenerSource
{
public:
    ListenerSource() = default;
    virtual ~ListenerSource() = default;
    ListenerSource(const ListenerSource &) = delete;
    ListenerSource &operator=(const ListenerSource &) = delete;

    /// As ListenerInventory::list() promises.
    [[nodiscard]] virtual Listing list() = 0;
};

} // namespace Tarnwick
