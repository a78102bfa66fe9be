// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/ListenerSource.h"
#include "CommandLine/ProcessEnder.h"
#include "Helper/ListenerInventory.h"

#include <cstdint>

namespace Tarnwick {

/// The listeners of this machine, and the way to stop them: one inventory for both, so that a
/// process is stopped only while it is still the one that was listed.
class SystemListeners : public ListenerSource, public ProcessEnder
{
public:
    [[nodiscard]] Listing list() override;
    [[nodiscard]] KillResult end(std::int32_t pid) override;

private:
    ListenerInventory m_inventory;
};

} // namespace Tarnwick
