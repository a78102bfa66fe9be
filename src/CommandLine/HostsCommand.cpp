// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostsCommand.h"

#include "CommandLine/ListingReader.h"
#include "CommandLine/TerminalText.h"
#include "Shared/RawPortInfoWriter.h"

#include <algorithm>
#include <system_error>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

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

const std::string noListing = "its answer is no listing: ";

/// Whether tarnwickctl there wrote a listing, be it an empty one.
bool isListed(const HostRuns::Result &result)
{
    return result.code && *result.code <= ExitCode::NothingDone;
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

std::vector<HostRuns::Result> HostsCommand::runToEnd() const
{
    return HostRuns(m_hosts, m_arguments).run(mayAsk());
}

ExitCode HostsCommand::run(bool json) const
{
    const auto results = runToEnd();
    std::string text;
    for (const HostRuns::Result &result : results) {
        forEachLine(result.output,
                    [&](std::string_view line) { text += marked(result.host, line, json) + '\n'; });
    }
    const std::error_code error = m_console.output.write(text);
    return m_console.concluded(error, conclude(results));
}

HostsCommand::Listings HostsCommand::list() const
{
    std::vector<HostRuns::Result> results = runToEnd();
    Listings listings{};
    for (HostRuns::Result &result : results) {
        if (!isListed(result)) {
            continue;
        }
        auto read = ListingReader::read(result.output);
        if (const auto *error = std::get_if<ListingReader::Error>(&read)) {
            result.failure = noListing + error->message;
            continue;
        }
        auto &listeners = std::get<std::vector<Listener>>(read);
        mergeEqual(listeners);
        for (Listener &listener : listeners) {
            listener.host = result.host;
            listings.listeners.push_back(std::move(listener));
        }
    }
    listings.code = concludeListings(results, !listings.listeners.empty());
    return listings;
}

ExitCode HostsCommand::writeListings() const
{
    std::vector<HostRuns::Result> results = runToEnd();
    std::string text;
    for (HostRuns::Result &result : results) {
        if (!isListed(result)) {
            continue;
        }
        const auto read = ListingReader::objects(result.output);
        if (const auto *error = std::get_if<ListingReader::Error>(&read)) {
            result.failure = noListing + error->message;
            continue;
        }
        for (const std::string &object : std::get<std::vector<std::string>>(read)) {
            text += (text.empty() ? "[\n" : ",\n") + marked(result.host, object, true);
        }
    }
    const ExitCode code = concludeListings(results, !text.empty());
    text += text.empty() ? "[]\n" : "\n]\n";
    return m_console.concluded(m_console.output.write(text), code);
}

/// The code of conclude(); that nothing matches on a host is no matter where something does on
/// another.
ExitCode HostsCommand::concludeListings(std::span<const HostRuns::Result> results,
                                        bool hasListeners) const
{
    const ExitCode code = conclude(results);
    return code == ExitCode::NothingDone && hasListeners ? ExitCode::Done : code;
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
            m_console.sayError(host + ": " + TerminalText::printable(result.failure) + ".");
            worst = std::max(worst, ExitCode::HostFailed);
        }
        worst = std::max(worst, result.code.value_or(ExitCode::Done));
    }
    return worst;
}

std::vector<std::string> argumentsWithout(std::span<const std::string_view> options,
                                          std::span<const char *const> arguments)
{
    std::vector<std::string> rest;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--") {
            rest.insert(rest.end(), arguments.begin() + static_cast<std::ptrdiff_t>(index),
                        arguments.end());
            break;
        }
        const std::string_view name = argument.substr(0, argument.find('='));
        if (std::find(options.begin(), options.end(), name) == options.end()) {
            rest.emplace_back(argument);
        } else if (name == argument) {
            ++index; // its value
        }
    }
    return rest;
}

} // namespace Tarnwick
