// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostsCommand.h"

#include "CommandLine/TerminalText.h"
#include "Shared/RawPortInfoWriter.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::string_view hostOption = "--host";

/// Calls @p take with each line of @p text, without its line feed.
template<class Take>
void forEachLine(std::string_view text, const Take &take)
{
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        take(line);
    }
}

/// @p line with the member "host" at the front of the object that begins in it; as it is where none
/// does.
std::string withHost(std::string_view line, const std::string &host)
{
    const std::size_t begin = line.find('{');
    if (begin == std::string_view::npos) {
        return std::string(line);
    }
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    writer.String(host.data(), static_cast<rapidjson::SizeType>(host.size()));
    std::string_view rest = line.substr(begin + 1);
    const bool isEmpty = rest.starts_with('}');
    return std::string(line.substr(0, begin)) +
           "{\"host\":" + std::string(buffer.GetString(), buffer.GetSize()) + (isEmpty ? "" : ",") +
           std::string(rest);
}

} // namespace

HostsCommand::HostsCommand(std::vector<std::string> hosts, std::vector<std::string> arguments,
                           const Console &console)
    : m_hosts(std::move(hosts))
    , m_arguments(std::move(arguments))
    , m_console(console)
{
}

bool HostsCommand::mayAsk() const
{
    return m_console.input.isTerminal() && m_console.errors.terminal().isTerminal;
}

std::string HostsCommand::marked(const std::string &host, std::string_view line, bool json) const
{
    return json ? withHost(TerminalText::printable(line), host)
                : TerminalText::printable(host) + ": " + TerminalText::printable(line);
}

ExitCode HostsCommand::run(bool json) const
{
    const auto results = HostRuns(m_hosts, m_arguments).run(mayAsk());
    std::string text;
    for (const HostRuns::Result &result : results) {
        forEachLine(result.output,
                    [&](std::string_view line) { text += marked(result.host, line, json) + '\n'; });
    }
    const std::error_code error = m_console.output.write(text);
    return m_console.concluded(error, conclude(results));
}

ExitCode HostsCommand::follow(bool json) const
{
    std::error_code error;
    const auto results =
        HostRuns(m_hosts, m_arguments)
            .run(
                mayAsk(),
                [this, json, &error](std::size_t host, std::string_view line) {
                    error = m_console.output.write(marked(m_hosts[host], line, json) + '\n');
                    return !error;
                },
                m_console.output.descriptor());
    return error ? m_console.concluded(error, ExitCode::Done) : conclude(results);
}

ExitCode HostsCommand::runOnTerminal() const
{
    ExitCode worst = ExitCode::Done;
    for (const std::string &host : m_hosts) {
        if (m_hosts.size() > 1) {
            m_console.say(TerminalText::printable(host) + ":");
        }
        worst = std::max(worst, conclude(HostRuns({host}, m_arguments).runOnTerminal()));
    }
    return worst;
}

ExitCode HostsCommand::conclude(std::span<const HostRuns::Result> results) const
{
    ExitCode worst = ExitCode::Done;
    for (const HostRuns::Result &result : results) {
        const std::string host = TerminalText::printable(result.host);
        forEachLine(result.errors, [this, &host](std::string_view line) {
            // ssh ends its lines with a carriage return, too.
            line.remove_suffix(line.ends_with('\r') ? 1 : 0);
            m_console.say(host + ": " + TerminalText::printable(line));
        });
        if (!result.failure.empty()) {
            m_console.sayError(host + ": " + result.failure + ".");
            worst = std::max(worst, ExitCode::HostFailed);
        }
        worst = std::max(worst, result.code.value_or(ExitCode::Done));
    }
    return worst;
}

std::vector<std::string> argumentsWithoutHosts(std::span<const char *const> arguments)
{
    std::vector<std::string> rest;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--") {
            rest.insert(rest.end(), arguments.begin() + static_cast<std::ptrdiff_t>(index),
                        arguments.end());
            break;
        }
        if (argument == hostOption) {
            ++index; // its value
        } else if (!argument.starts_with(std::string(hostOption) + "=")) {
            rest.emplace_back(argument);
        }
    }
    return rest;
}

} // namespace Tarnwick
