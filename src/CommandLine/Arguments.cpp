// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Arguments.h"

#include "CommandLine/CommandParser.h"
#include "CommandLine/HelpText.h"
#include "CommandLine/PortArguments.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// Only the parser of the command at hand is made: making one costs more than a listing should
/// wait.
using Parser = Arguments (*)(std::vector<std::string> reversed);

constexpr std::chrono::milliseconds shortestInterval(200);
constexpr std::chrono::seconds longestInterval(3600);

std::optional<std::chrono::milliseconds> intervalFrom(std::string_view text)
{
    return secondsFrom(text, shortestInterval, longestInterval);
}

/// The options that list and watch share.
class SelectionOptions
{
public:
    explicit SelectionOptions(CommandParser &parser)
    {
        parser.add_option("--tier", m_tiers, "Only listeners of this tier; may be repeated")
            ->type_name("TIER")
            ->allow_extra_args(false)
            ->check(understoodBy(portTierFromRawValue, "a tier: system, app, dev or unknown"));
        parser
            .add_option("--search", m_search,
                        "Only listeners whose port, process, description,\n"
                        "path or command contains TEXT")
            ->type_name("TEXT");
        parser.add_option("--port", m_port, "Only listeners on this port")
            ->type_name("PORT")
            ->check(understoodBy(portFrom, "a port: 1 to 65535"));
        parser.addFlag("--json", m_json, "Write JSON");
    }

    [[nodiscard]] Selection selection() const
    {
        return {.tiers = valuesOf<PortTier>(m_tiers, portTierFromRawValue),
                .search = m_search,
                .port = portFrom(m_port)};
    }

    [[nodiscard]] bool json() const { return m_json; }

private:
    std::vector<std::string> m_tiers;
    std::string m_search;
    std::string m_port;
    bool m_json = false;
};

Arguments parseListAs(std::string_view name, std::string_view description,
                      std::string_view examples, std::vector<std::string> reversed)
{
    CommandParser parser(name, description, examples);
    const SelectionOptions options(parser);
    std::vector<std::string> hosts;
    parser.addHosts(hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        return ListArguments{options.selection(), options.json(), std::move(hosts)};
    });
}

Arguments parseProgram(std::vector<std::string> reversed)
{
    return parseListAs("tarnwickctl [COMMAND]", HelpText::program, HelpText::programExamples,
                       std::move(reversed));
}

Arguments parseList(std::vector<std::string> reversed)
{
    return parseListAs("tarnwickctl list", HelpText::list, HelpText::listExamples,
                       std::move(reversed));
}

Arguments parseWatch(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl watch", HelpText::watch, HelpText::watchExamples);
    const SelectionOptions options(parser);
    std::string interval = "2";
    parser.add_option("--interval", interval, "Seconds between two looks: 0.2 to 3600, at first 2")
        ->type_name("SECONDS")
        ->check(understoodBy(intervalFrom, "a number of seconds from 0.2 to 3600"));
    std::vector<std::string> hosts;
    parser.addHosts(hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        return WatchArguments{options.selection(), options.json(),
                              intervalFrom(interval).value_or(WatchArguments().interval),
                              std::move(hosts)};
    });
}

Arguments parseKill(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl kill", HelpText::kill, HelpText::killExamples);
    std::vector<std::string> ports;
    std::vector<std::string> pids;
    KillArguments result;
    parser.add_option("PORT", ports, "The ports whose owners to stop")
        ->type_name("")
        ->check(understoodBy(portFrom, "a port: 1 to 65535"));
    parser.add_option("--pid", pids, "Stop this process instead; may be repeated")
        ->type_name("PID")
        ->allow_extra_args(false)
        ->check(understoodBy(pidFrom, "a process identifier"));
    parser.addFlag("-y,--yes", result.yes, "Do not ask");
    parser.addFlag("--system", result.system, "Stop services of the system, too");
    parser.addHosts(result.hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        if (ports.empty() == pids.empty()) {
            return parser.usageError(ports.empty() ? "kill needs a PORT or --pid"
                                                   : "kill takes either ports or --pid, not both");
        }
        result.ports = valuesOf<std::int64_t>(ports, portFrom);
        result.pids = valuesOf<std::int32_t>(pids, pidFrom);
        return result;
    });
}

Arguments parseTiers(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl tiers", HelpText::tiers, HelpText::tiersExamples);
    TiersArguments result;
    parser.addFlag("--json", result.json, "Write JSON");
    return parser.parsed(std::move(reversed), [&]() -> Arguments { return result; });
}

/// The vector that CLI11 parses begins with the last argument. It knows no empty value after "=",
/// only one that is an argument of its own.
std::vector<std::string> reversedForParser(std::span<const char *const> arguments)
{
    std::vector<std::string> texts;
    texts.reserve(arguments.size());
    for (std::string_view argument : arguments) {
        const bool isEmptyValue = argument.starts_with("--") && argument.ends_with('=');
        argument.remove_suffix(isEmptyValue ? 1 : 0);
        texts.emplace_back(argument);
        if (isEmptyValue) {
            texts.emplace_back();
        }
    }
    std::reverse(texts.begin(), texts.end());
    return texts;
}

struct Command
{
    std::string_view name;
    Parser parse;
};

constexpr std::array commands{
    Command{"list", parseList},
    Command{"watch", parseWatch},
    Command{"kill", parseKill},
    Command{"why", PortArguments::parseWhy},
    Command{"free", PortArguments::parseFree},
    Command{"wait", PortArguments::parseWait},
    Command{"url", PortArguments::parseUrl},
    Command{"tiers", parseTiers},
};

/// "list, watch or kill".
std::string commandNames()
{
    std::string names;
    for (const Command &command : commands) {
        const bool isLast = command.name == commands.back().name;
        names.append(names.empty() ? "" : (isLast ? " or " : ", ")).append(command.name);
    }
    return names;
}

} // namespace

Arguments parseArguments(std::span<const char *const> arguments)
{
    std::vector<std::string> reversed = reversedForParser(arguments);
    if (reversed.empty() || reversed.back().starts_with('-')) {
        return parseProgram(std::move(reversed));
    }
    // A number is the port of why.
    if (!reversed.back().empty() &&
        reversed.back().find_first_not_of("0123456789") == std::string::npos) {
        return PortArguments::parseWhy(std::move(reversed));
    }
    const auto *const command =
        std::find_if(commands.begin(), commands.end(),
                     [&reversed](const Command &known) { return known.name == reversed.back(); });
    if (command == commands.end()) {
        return UsageError{"'" + reversed.back() + "' is not a command: " + commandNames()};
    }
    reversed.pop_back();
    return command->parse(std::move(reversed));
}

} // namespace Tarnwick
