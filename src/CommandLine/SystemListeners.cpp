// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SystemListeners.h"

#include "Helper/ProcessTerminator.h"
#include "Helper/SessionGuard.h"

namespace Tarnwick {

Listing SystemListeners::list()
{
    return m_inventory.list();
}

std::optional<ProcessIdentity> SystemListeners::identity(std::int32_t pid) const
{
    return m_inventory.told(pid);
}

KillResult SystemListeners::end(const ProcessIdentity &process)
{
    ProcessTerminator terminator(m_inventory);
    return killResultFromReply(static_cast<std::int32_t>(terminator.terminate(process)));
}

std::string SystemListeners::protection(std::int32_t pid) const
{
    const std::optional<SessionGuard::Part> part = SessionGuard::part(pid);
    return part ? std::string(SessionGuard::name(*part)) : std::string();
}

} // namespace Tarnwick
