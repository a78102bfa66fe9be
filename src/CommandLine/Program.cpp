// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Program.h"

#include "CommandLine/Arguments.h"
#include "CommandLine/KillCommand.h"
#include "CommandLine/ListCommand.h"
#include "CommandLine/TerminalText.h"
#include "CommandLine/UrlCommand.h"
#include "CommandLine/WaitCommand.h"

#include <utility>
#include <variant>

namespace Tarnwick {

Program::Program(const Console &console, ListenerSource &source, ProcessEnder &ender,
                 const PortProbe &ports, StartWatchSession startWatching)
    : m_console(console)
    , m_source(source)
    , m_ender(ender)
    , m_ports(ports)
    , m_startWatching(std::move(startWatching))
{
}

ExitCode Program::run(std::span<const char *const> arguments)
{
    return std::visit([this](const auto &wanted) { return perform(wanted); },
                      parseArguments(arguments));
}

ExitCode Program::perform(const ListArguments &arguments)
{
    return ListCommand(arguments, m_console, m_source).run();
}

ExitCode Program::perform(const WatchArguments &arguments)
{
    return WatchCommand(arguments, m_console, m_source, m_startWatching).run();
}

ExitCode Program::perform(const KillArguments &arguments)
{
    return KillCommand(arguments, m_console, m_source, m_ender).run();
}

ExitCode Program::perform(const WaitArguments &arguments)
{
    return WaitCommand(arguments, m_console, m_ports).run();
}

ExitCode Program::perform(const UrlArguments &arguments)
{
    return UrlCommand(arguments, m_console, m_ports).run();
}

ExitCode Program::perform(const Information &information)
{
    return m_console.finish(information.text, ExitCode::Done);
}

ExitCode Program::perform(const UsageError &error)
{
    m_console.sayError(TerminalText::printable(error.message));
    m_console.say("Try '" + error.command + " --help'.");
    return ExitCode::Usage;
}

} // namespace Tarnwick
