// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SystemListeners.h"

#include "Helper/ProcessTerminator.h"

namespace Tarnwick {

Listing SystemListeners::list()
{
    return m_inventory.list();
}

KillResult SystemListeners::end(std::int32_t pid)
{
    ProcessTerminator terminator(m_inventory);
    return killResultFromReply(static_cast<std::int32_t>(terminator.terminate(pid)));
}

} // namespace Tarnwick
