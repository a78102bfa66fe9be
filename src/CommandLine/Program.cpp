// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Program.h"

#include "CommandLine/Arguments.h"
#include "CommandLine/FreeCommand.h"
#include "CommandLine/KillCommand.h"
#include "CommandLine/ListCommand.h"
#include "CommandLine/TerminalText.h"
#include "CommandLine/TiersCommand.h"
#include "CommandLine/UrlCommand.h"
#include "CommandLine/WaitCommand.h"
#include "CommandLine/WhyCommand.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Tarnwick {

Program::Program(const Console &console, ListenerSource &source, ProcessEnder &ender,
                 const PortProbe &ports, ServerProcesses &processes,
                 StartWatchSession startWatching)
    : m_console(console)
    , m_source(source)
    , m_ender(ender)
    , m_ports(ports)
    , m_processes(processes)
    , m_startWatching(std::move(startWatching))
{
}

ExitCode Program::run(std::span<const char *const> arguments)
{
    m_arguments = arguments;
    return std::visit([this](const auto &wanted) { return perform(wanted); },
                      parseArguments(arguments));
}

/// The command on the hosts that it names.
template<class Command>
HostsCommand Program::onHosts(const Command &arguments) const
{
    constexpr std::array<std::string_view, 1> ours{"--host"};
    return {arguments.hosts, argumentsWithout(ours, m_arguments), m_console};
}

/// Whether the user sees the output and can type.
bool Program::isOnTerminal() const
{
    return m_console.input.isTerminal() && m_console.output.terminal().isTerminal;
}

ExitCode Program::perform(const ListArguments &arguments)
{
    return arguments.hosts.empty() ? ListCommand(arguments, m_console, m_source).run()
                                   : listHosts(arguments);
}

ExitCode Program::listHosts(const ListArguments &arguments)
{
    if (arguments.pidsOnly) {
        return onHosts(arguments).run(false);
    }
    // What the table looks like is decided here.
    constexpr std::array<std::string_view, 4> ours{"--host", "--columns", "--sort", "--group-by"};
    std::vector<std::string> remote = argumentsWithout(ours, m_arguments);
    const bool isNamed = !remote.empty() && remote.front() == "list";
    if (!arguments.json) {
        remote.insert(remote.begin() + (isNamed ? 1 : 0), "--json");
    }
    if (!isNamed) {
        remote.insert(remote.begin(), "list");
    }
    const HostsCommand hosts(arguments.hosts, std::move(remote), m_console);
    if (arguments.json) {
        return hosts.writeListings();
    }
    HostsCommand::Listings listings = hosts.list();
    const ExitCode code =
        ListCommand(arguments, m_console, m_source).show(std::move(listings.listeners));
    return std::max(code, listings.code);
}

ExitCode Program::perform(const WatchArguments &arguments)
{
    if (!arguments.hosts.empty()) {
        const HostsCommand hosts = onHosts(arguments);
        const bool isOnScreen = !arguments.json && arguments.hosts.size() == 1 && isOnTerminal();
        return isOnScreen ? hosts.runOnTerminal() : hosts.follow(arguments.json);
    }
    return WatchCommand(arguments, m_console, m_source, m_ender, m_startWatching).run();
}

ExitCode Program::perform(const KillArguments &arguments)
{
    if (!arguments.hosts.empty()) {
        const HostsCommand hosts = onHosts(arguments);
        return arguments.yes ? hosts.run(false) : hosts.runOnTerminal();
    }
    return KillCommand(arguments, m_console, m_source, m_ender).run();
}

ExitCode Program::perform(const FreeArguments &arguments)
{
    if (!arguments.hosts.empty()) {
        const HostsCommand hosts = onHosts(arguments);
        return arguments.yes || arguments.dryRun ? hosts.run(false) : hosts.runOnTerminal();
    }
    return FreeCommand(arguments, m_console, {m_source, m_ender, m_ports, m_processes}).run();
}

ExitCode Program::perform(const WhyArguments &arguments)
{
    if (!arguments.hosts.empty()) {
        return onHosts(arguments).run(arguments.json);
    }
    return WhyCommand(arguments, m_console, {m_source, m_ender, m_ports, m_processes}).run();
}

ExitCode Program::perform(const WaitArguments &arguments)
{
    return WaitCommand(arguments, m_console, m_ports).run();
}

ExitCode Program::perform(const UrlArguments &arguments)
{
    return UrlCommand(arguments, m_console, m_ports).run();
}

ExitCode Program::perform(const TiersArguments &arguments)
{
    return TiersCommand(arguments, m_console, TierRuleSources::ofThisProcess()).run();
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
