// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/PortProbe.h"
#include "CommandLine/ServerProcesses.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// What keeps servers from a port on which nothing listens.
struct PortBlocker
{
    /// For people: "1 closed connection, kept for up to 60 s (TIME_WAIT)".
    std::string text{};
    std::vector<std::int32_t> processes{}; ///< that have the socket open; empty where none is known

    friend bool operator==(const PortBlocker &, const PortBlocker &) = default;
};

/// Finds out why a port cannot be bound. Everything outlives it.
class PortBlockers
{
public:
    PortBlockers(const PortProbe &ports, const ServerProcesses &processes)
        : m_ports(ports)
        , m_processes(processes)
    {
    }

    /// What holds @p port without listening; empty where a server that sets SO_REUSEADDR or one
    /// that does not can bind it. A socket of a process is named with it.
    [[nodiscard]] std::vector<PortBlocker> find(std::int64_t port) const;

    /// Whether no server can bind the port at every address, whatever options it sets.
    [[nodiscard]] bool keepEverybodyOut(std::int64_t port) const;

    /// One line that sums up what find() gave, for people; with what can be done.
    [[nodiscard]] std::string summary(std::int64_t port,
                                      const std::vector<PortBlocker> &blockers) const;

private:
    [[nodiscard]] std::string holdersText(const std::vector<std::int32_t> &pids) const;

    const PortProbe &m_ports;
    const ServerProcesses &m_processes;
};

} // namespace Tarnwick
