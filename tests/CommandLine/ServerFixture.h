// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/ServerProcesses.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Prepared processes. Each is in the group and the session of its parent unless a test says
/// otherwise; notes which of them it is to end.
class PreparedProcesses : public ServerProcesses
{
public:
    static constexpr std::int32_t ownPid = 900;
    static constexpr std::uint32_t user = 1000;

    PreparedProcesses()
    {
        add(1, 0, "systemd").session = 1;
        shell(100, 1);
        TreeProcess &self = add(ownPid, 100, "tarnwickctl");
        self.group = ownPid;
    }

    /// A process that writes to the output of its parent. The reference is good until the next one
    /// is added.
    TreeProcess &add(std::int32_t pid, std::int32_t parent, std::string name)
    {
        TreeProcess process{.identity = {.pid = pid, .startTicks = 7},
                            .parent = parent,
                            .group = pid,
                            .session = pid,
                            .userId = user,
                            .name = std::move(name)};
        for (const TreeProcess &other : processes) {
            if (other.pid() == parent && parent != 1) {
                const bool isShell = roles[parent] == LaunchRole::InteractiveShell;
                process.group = isShell ? pid : other.group;
                process.session = other.session;
                process.hasTerminal = other.hasTerminal;
            }
        }
        processes.push_back(process);
        return processes.back();
    }

    /// A shell that a person types into, on a terminal of its own.
    void shell(std::int32_t pid, std::int32_t parent)
    {
        TreeProcess &process = add(pid, parent, "bash");
        process.group = pid;
        process.session = pid;
        process.hasTerminal = true;
        roles[pid] = LaunchRole::InteractiveShell;
    }

    TreeProcess &at(std::int32_t pid)
    {
        return *std::find_if(processes.begin(), processes.end(),
                             [pid](const TreeProcess &one) { return one.pid() == pid; });
    }

    [[nodiscard]] ProcessTree tree() const override { return ProcessTree(processes); }
    [[nodiscard]] std::int32_t self() const override { return ownPid; }

    [[nodiscard]] std::vector<std::string> arguments(std::int32_t pid) const override
    {
        return {"run", std::to_string(pid)};
    }

    [[nodiscard]] LaunchRole role(std::int32_t pid) const override
    {
        const auto known = roles.find(pid);
        return known != roles.end() ? known->second : LaunchRole::Command;
    }

    [[nodiscard]] bool sharesOutput(std::int32_t first, std::int32_t second) const override
    {
        return !ownOutput.contains(first) && !ownOutput.contains(second);
    }

    [[nodiscard]] std::optional<Supervisor> supervisor(std::int32_t pid) const override
    {
        const auto known = supervisors.find(pid);
        return known != supervisors.end() ? std::optional(known->second) : std::nullopt;
    }

    [[nodiscard]] std::vector<KillAnswer>
    endRelated(std::span<const ProcessIdentity> wanted) override
    {
        std::vector<KillAnswer> answers;
        for (const ProcessIdentity &process : wanted) {
            ended.push_back(process.pid);
            const auto result = results.find(process.pid);
            answers.push_back(result != results.end() ? result->second
                                                      : KillAnswer(KillResultCode::Terminated));
        }
        return answers;
    }

    std::vector<TreeProcess> processes;
    std::map<std::int32_t, LaunchRole> roles; ///< `Command` for the others
    std::set<std::int32_t> ownOutput;         ///< processes that share theirs with none
    std::map<std::int32_t, Supervisor> supervisors;
    std::map<std::int32_t, KillAnswer> results; ///< `Terminated` for the others
    std::vector<std::int32_t> ended;
};

} // namespace Tarnwick
