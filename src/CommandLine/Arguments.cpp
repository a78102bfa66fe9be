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

/// The ports that @p text names, with commas between them: "3000,8000-8999".
std::optional<std::vector<SelectedPorts>> portsFrom(std::string_view text)
{
    std::vector<SelectedPorts> ports;
    while (true) {
        const std::string_view part = text.substr(0, text.find(','));
        const std::size_t hyphen = part.find('-');
        const std::string_view end = hyphen == part.npos ? part : part.substr(hyphen + 1);
        const std::optional<std::int64_t> first = portFrom(part.substr(0, hyphen));
        const std::optional<std::int64_t> last = portFrom(end);
        if (!first || !last || *last < *first) {
            return std::nullopt;
        }
        ports.push_back({*first, *last});
        if (part.size() == text.size()) {
            return ports;
        }
        text.remove_prefix(part.size() + 1);
    }
}

/// A text that is not blank.
std::optional<std::string> visibleFrom(std::string_view text)
{
    const bool isBlank = text.find_first_not_of(" \t\n") == text.npos;
    return isBlank ? std::nullopt : std::optional(std::string(text));
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
        parser
            .add_option("--not", m_excluded,
                        "No listener that --search TEXT would show;\nmay be repeated")
            ->type_name("TEXT")
            ->allow_extra_args(false)
            ->check(understoodBy(visibleFrom, "a text to search for"));
        parser
            .add_option("--port", m_ports,
                        "Only listeners on these ports: 3000,8000-8999;\nmay be repeated")
            ->type_name("PORT")
            ->allow_extra_args(false)
            ->check(understoodBy(portsFrom, "a port: 1 to 65535, or a range such as 8000-8999"));
        parser
            .add_option("--user", m_users,
                        "Only listeners of this user, a name or a number;\nmay be repeated")
            ->type_name("NAME")
            ->allow_extra_args(false)
            ->check(understoodBy(visibleFrom, "the name of a user"));
        parser.addFlag("--exposed", m_exposed, "Only what other machines can reach");
        parser.addFlag("--json", m_json, "Write JSON");
    }

    [[nodiscard]] Selection selection() const
    {
        Selection selection{.tiers = valuesOf<PortTier>(m_tiers, portTierFromRawValue),
                            .search = m_search,
                            .exposed = m_exposed,
                            .users = m_users,
                            .excluded = m_excluded};
        for (const std::string &text : m_ports) {
            const auto ports = portsFrom(text).value_or(std::vector<SelectedPorts>());
            selection.ports.insert(selection.ports.end(), ports.begin(), ports.end());
        }
        return selection;
    }

    [[nodiscard]] bool json() const { return m_json; }

private:
    std::vector<std::string> m_tiers;
    std::string m_search;
    std::vector<std::string> m_excluded;
    std::vector<std::string> m_ports;
    std::vector<std::string> m_users;
    bool m_exposed = false;
    bool m_json = false;
};

/// The options of list alone.
class TableOptions
{
public:
    explicit TableOptions(CommandParser &parser)
    {
        parser.add_option("--columns", m_columns, "The columns of the table: port,pid,command")
            ->type_name("NAMES")
            ->check(understoodBy(Columns::listFrom, "a list of columns, see --help"));
        parser
            .add_option("--sort", m_order,
                        "Sort by these columns; a hyphen in front of one\nreverses its order")
            ->type_name("NAMES")
            ->check(understoodBy(Columns::orderFrom, "a list of columns, see --help"));
        parser
            .add_option("--group-by", m_grouping,
                        "A heading for each project, tier, user, unit or\ncontainer")
            ->type_name("WHAT")
            ->check(understoodBy(GroupedListeners::groupingFrom,
                                 "project, tier, user, unit or container"));
        parser.addFlag("--pids", m_pidsOnly, "Only the process identifiers, one on each line");
    }

    /// Nothing, or which of the options exclude each other.
    [[nodiscard]] std::string conflict(bool isJson) const
    {
        const bool isTable = !m_columns.empty() || !m_grouping.empty();
        if (isTable && (isJson || m_pidsOnly)) {
            return std::string(m_columns.empty() ? "--group-by" : "--columns") +
                   " is for the table, not for " + (isJson ? "--json" : "--pids");
        }
        return isJson && m_pidsOnly ? "--json and --pids exclude each other" : std::string();
    }

    void addTo(ListArguments &arguments) const
    {
        arguments.pidsOnly = m_pidsOnly;
        arguments.columns = Columns::listFrom(m_columns).value_or(std::vector<Column>());
        arguments.order = Columns::orderFrom(m_order).value_or(std::vector<SortKey>());
        arguments.grouping = GroupedListeners::groupingFrom(m_grouping).value_or(Grouping::None);
    }

private:
    std::string m_columns;
    std::string m_order;
    std::string m_grouping;
    bool m_pidsOnly = false;
};

Arguments parseListAs(std::string_view name, std::string_view description,
                      std::string_view examples, std::vector<std::string> reversed)
{
    CommandParser parser(name, description, examples);
    const SelectionOptions options(parser);
    const TableOptions table(parser);
    std::vector<std::string> hosts;
    parser.addHosts(hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        if (std::string conflict = table.conflict(options.json()); !conflict.empty()) {
            return parser.usageError(std::move(conflict));
        }
        ListArguments arguments{
            .selection = options.selection(), .json = options.json(), .hosts = std::move(hosts)};
        table.addTo(arguments);
        return arguments;
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
    std::string interval;
    parser
        .add_option("--interval", interval,
                    "Seconds between two scans while no change is\n"
                    "detected: 0.2 to 3600")
        ->type_name("SECONDS")
        ->check(understoodBy(intervalFrom, "a number of seconds from 0.2 to 3600"));
    std::vector<std::string> hosts;
    parser.addHosts(hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        return WatchArguments{options.selection(), options.json(), intervalFrom(interval),
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
