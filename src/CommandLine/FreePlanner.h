// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/FreePlan.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/ServerProcesses.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// Finds out which processes make up the servers behind ports, from one listing and one look at all
/// processes. Changes nothing.
///
/// A server is its owner; above it the runners, each of which has started the one below and nothing
/// else; below it its descendants; what is left of its process group where all the rest of that
/// belongs to the server; and what else holds its sockets. Shells that a person types into,
/// editors, terminals, what runs this program, what listens on other ports and what the session
/// lives on never belong to one, nor what they lead to.
class FreePlanner
{
public:
    struct Rights
    {
        std::uint32_t userId = 0; ///< of this program; may end everything where it is root's
        bool system = false;      ///< whether the tier `system` may be ended
    };

    /// @p listeners are all that there are. Everything outlives the planner.
    FreePlanner(std::span<const Listener> listeners, const ProcessTree &tree,
                const ServerProcesses &processes, const ProcessEnder &ender, Rights rights);

    /// A plan for each owner of @p ports, in the order of the ports. @p holders are the processes
    /// that hold the listening sockets of each port.
    using Holders = std::map<std::int64_t, std::vector<std::int32_t>>;
    [[nodiscard]] std::vector<FreePlan> plans(const std::vector<std::int64_t> &ports,
                                              const Holders &holders) const;

private:
    struct Members;

    [[nodiscard]] FreePlan planFor(const Listener &listener, const std::vector<std::int64_t> &ports,
                                   const Holders &holders) const;
    [[nodiscard]] std::string refusal(const Listener &listener) const;
    [[nodiscard]] std::string refusalOfSupervised(const Listener &listener) const;
    [[nodiscard]] const TreeProcess *runnerOf(const TreeProcess &process, FreePlan &plan) const;
    [[nodiscard]] std::string reasonToSpare(const TreeProcess &process,
                                            const std::vector<std::int64_t> &ports) const;
    void addWorkers(const TreeProcess &owner, Members &members, FreePlan &plan) const;
    void addRestOfGroup(const TreeProcess &owner, Members &members, FreePlan &plan) const;
    void addHolders(const Holders &holders, Members &members, FreePlan &plan) const;
    [[nodiscard]] bool isOwnProcess(std::int32_t pid) const;
    [[nodiscard]] bool listensElsewhere(std::int32_t pid,
                                        const std::vector<std::int64_t> &ports) const;
    [[nodiscard]] FreePlan::Step step(FreePlan::Part part, const TreeProcess &process) const;

    std::span<const Listener> m_listeners;
    const ProcessTree &m_tree;
    const ServerProcesses &m_processes;
    const ProcessEnder &m_ender;
    Rights m_rights;
};

} // namespace Tarnwick
