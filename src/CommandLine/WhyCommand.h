// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/CommandSystem.h"
#include "CommandLine/Console.h"
#include "CommandLine/FreePlan.h"
#include "CommandLine/Listener.h"
#include "CommandLine/OwnerReport.h"
#include "CommandLine/PortBlockers.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// Shows all that is known of one port: each owner of it, or what else keeps servers from it.
class WhyCommand
{
public:
    WhyCommand(WhyArguments arguments, const Console &console, const CommandSystem &system);

    /// `NothingDone` when nothing listens on the port.
    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] std::vector<OwnerReport> reports(const std::vector<Listener> &listeners,
                                                   const TierRules &rules) const;
    [[nodiscard]] OwnerReport reportOf(const FreePlan &plan, const ProcessTree &tree,
                                       std::span<const Listener> sockets,
                                       const TierRules &rules) const;
    [[nodiscard]] std::vector<OwnerReport::Process> ancestorsOf(std::int32_t pid,
                                                                const ProcessTree &tree) const;
    [[nodiscard]] std::vector<std::string> waysToStop(const FreePlan &plan, const ProcessTree &tree,
                                                      const ListenerDetails &details,
                                                      bool isOnlyOwner) const;
    [[nodiscard]] std::string restartOf(const FreePlan &plan, const ProcessTree &tree,
                                        const Listener &listener) const;
    [[nodiscard]] ExitCode showOwners(const std::vector<OwnerReport> &reports) const;
    [[nodiscard]] ExitCode showBlockers() const;
    [[nodiscard]] std::string json(const std::vector<OwnerReport> &reports,
                                   const std::vector<PortBlocker> &blockers) const;

    WhyArguments m_arguments;
    const Console &m_console;
    CommandSystem m_system;
};

} // namespace Tarnwick
