// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "Shared/RawPortInfo.h"

#include <functional>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// An inventory in a process of its own, which may be of another user or in other namespaces. It
/// ends with this object.
class InventoryProcess
{
public:
    /// Runs @p prepare in the process first; when that is false, every listing is empty.
    explicit InventoryProcess(const std::function<bool()> &prepare);
    ~InventoryProcess();
    InventoryProcess(const InventoryProcess &) = delete;
    InventoryProcess &operator=(const InventoryProcess &) = delete;

    /// The inventory's next listing; empty when it failed.
    [[nodiscard]] std::vector<RawPortInfo> list();

    /// Whether its next listing is there within a few seconds; after that it is of no more use.
    [[nodiscard]] bool answers();

private:
    FileDescriptor m_channel;
    pid_t m_pid = -1;
};

} // namespace Tarnwick
