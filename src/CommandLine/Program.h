// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/HostsCommand.h"
#include "CommandLine/ListenerSource.h"
#include "CommandLine/PortProbe.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/ServerProcesses.h"
#include "CommandLine/WatchCommand.h"

#include <span>

namespace Tarnwick {

/// The whole of `tarnwickctl` but the process around it.
class Program
{
public:
    /// All of these outlive the program.
    Program(const Console &console, ListenerSource &source, ProcessEnder &ender,
            const PortProbe &ports, ServerProcesses &processes, StartWatchSession startWatching);

    /// Does what @p arguments, those after the program's name, ask for.
    [[nodiscard]] ExitCode run(std::span<const char *const> arguments);

private:
    [[nodiscard]] ExitCode perform(const ListArguments &arguments);
    [[nodiscard]] ExitCode perform(const WatchArguments &arguments);
    [[nodiscard]] ExitCode perform(const KillArguments &arguments);
    [[nodiscard]] ExitCode perform(const WhyArguments &arguments);
    [[nodiscard]] ExitCode perform(const FreeArguments &arguments);
    [[nodiscard]] ExitCode perform(const WaitArguments &arguments);
    [[nodiscard]] ExitCode perform(const UrlArguments &arguments);
    [[nodiscard]] ExitCode perform(const TiersArguments &arguments);
    [[nodiscard]] ExitCode perform(const Information &information);
    [[nodiscard]] ExitCode perform(const UsageError &error);

    [[nodiscard]] ExitCode listHosts(const ListArguments &arguments);
    template<class Command>
    [[nodiscard]] HostsCommand onHosts(const Command &arguments) const;
    [[nodiscard]] bool isOnTerminal() const;

    const Console &m_console;
    ListenerSource &m_source;
    ProcessEnder &m_ender;
    const PortProbe &m_ports;
    ServerProcesses &m_processes;
    StartWatchSession m_startWatching;
    std::span<const char *const> m_arguments;
};

} // namespace Tarnwick
