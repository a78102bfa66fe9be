// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Arguments.h"

#include "CommandLine/HelpText.h"
#include "CommandLine/Number.h"
#include "Shared/Version.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// Only the parser of the command at hand is made: making one costs more than a listing should
/// wait.
using Parser = Arguments (*)(std::vector<std::string> reversed);

constexpr std::int64_t leastPort = 1;
constexpr std::int64_t greatestPort = 65'535;
constexpr std::chrono::milliseconds shortestInterval(200);
constexpr std::chrono::seconds longestInterval(3600);

std::optional<std::int64_t> portFrom(std::string_view text)
{
    return parseNumber(text, leastPort, greatestPort);
}

std::optional<std::int32_t> pidFrom(std::string_view text)
{
    return parseNumberAs<std::int32_t>(text, 1, std::numeric_limits<std::int32_t>::max());
}

/// Seconds with any number of decimals, of which three count. (Reading a floating-point number
/// would load the library of mathematics with every start of the program.)
std::optional<std::chrono::milliseconds> intervalFrom(std::string_view text)
{
    const std::size_t point = std::min(text.find('.'), text.size());
    const bool hasDecimals = point < text.size();
    std::string decimals(hasDecimals ? text.substr(point + 1) : "0");
    const bool areDigits =
        !decimals.empty() && decimals.find_first_not_of("0123456789") == decimals.npos;
    decimals.resize(3, '0');
    const auto seconds = parseNumber(text.substr(0, point), 0, longestInterval.count());
    const auto milliseconds = parseNumber(decimals, 0, 999);
    if (!areDigits || !seconds || !milliseconds) {
        return std::nullopt;
    }
    const auto interval = std::chrono::seconds(*seconds) + std::chrono::milliseconds(*milliseconds);
    const bool inRange = interval >= shortestInterval && interval <= longestInterval;
    return inRange ? std::optional(interval) : std::nullopt;
}

/// The check of an option whose value @p parse must understand; @p expected says what it takes.
template<class Parse>
CLI::Validator understoodBy(Parse parse, std::string_view expected)
{
    const auto check = [parse, expected](const std::string &text) {
        return parse(text) ? std::string() : "'" + text + "' is not " + std::string(expected);
    };
    return {check, ""};
}

template<class Value, class Parse>
std::vector<Value> valuesOf(const std::vector<std::string> &texts, Parse parse)
{
    std::vector<Value> values;
    for (const std::string &text : texts) {
        if (const auto value = parse(text)) {
            values.push_back(*value);
        }
    }
    return values;
}

class CommandParser : public CLI::App
{
public:
    CommandParser(std::string_view name, std::string_view description, std::string_view examples)
        : App(std::string(description), std::string(name))
        , m_command(name.substr(0, name.find(" [")))
    {
        set_help_flag("-h,--help", "Print this help and exit")->disable_flag_override();
        set_version_flag("--version", "tarnwickctl " + std::string(Tarnwick::version),
                         "Print the version and exit")
            ->disable_flag_override();
        footer(std::string(examples));
    }

    /// A flag that takes no value.
    void addFlag(const std::string &names, bool &flag, const std::string &description)
    {
        add_flag(names, flag, description)->disable_flag_override();
    }

    /// The result of @p read once @p reversed is parsed, the help or the version if asked for, or
    /// what is wrong.
    template<class Read>
    Arguments parsed(std::vector<std::string> reversed, Read read)
    {
        try {
            parse(std::move(reversed));
        } catch (const CLI::CallForHelp &) {
            return Information{help()};
        } catch (const CLI::CallForVersion &information) {
            return Information{std::string(information.what()) + '\n'};
        } catch (const CLI::ExtrasError &) {
            return usageError(unexpected(remaining()));
        } catch (const CLI::ArgumentMismatch &error) {
            return usageError(mismatch(error.what()));
        } catch (const CLI::ParseError &error) {
            return usageError(error.what());
        }
        return read();
    }

    [[nodiscard]] UsageError usageError(std::string message) const
    {
        return {std::move(message), m_command};
    }

private:
    /// Says what is wrong with the first of @p rest, which the parser did not know. The "--" that
    /// ends the options is kept in front of what comes behind it.
    static std::string unexpected(const std::vector<std::string> &rest)
    {
        const bool isBehindOptions = rest.front() == "--" && rest.size() > 1;
        const std::string &first = isBehindOptions ? rest[1] : rest.front();
        const bool isOption = first.size() > 1 && first.front() == '-' && !isBehindOptions;
        if (!isOption) {
            return "unexpected argument '" + first + "'";
        }
        const bool isLong = first.starts_with("--");
        return "unknown option '" + (isLong ? first.substr(0, first.find('=')) : first) + "'";
    }

    /// Says what is wrong with the number of an option's values. @p text is the parser's message,
    /// which begins with the option's name, sometimes without its dashes.
    [[nodiscard]] std::string mismatch(std::string_view text) const
    {
        std::string name(text.substr(0, text.find_first_of(": ")));
        name.insert(0, name.starts_with('-') ? "" : "--");
        const CLI::Option *const option = get_option_no_throw(name);
        if (option == nullptr) {
            return std::string(text);
        }
        const auto most = static_cast<std::size_t>(option->get_items_expected_max());
        if (most == 0) {
            return "option '" + name + "' takes no value";
        }
        const bool isRepeated = option->count() > most;
        return "option '" + name + (isRepeated ? "' may be given only once" : "' needs a value");
    }

    std::string m_command; ///< what has the help
};

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
    return parser.parsed(std::move(reversed), [&options]() -> Arguments {
        return ListArguments{options.selection(), options.json()};
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
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        return WatchArguments{options.selection(), options.json(),
                              intervalFrom(interval).value_or(WatchArguments().interval)};
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
};

} // namespace

Arguments parseArguments(std::span<const char *const> arguments)
{
    std::vector<std::string> reversed = reversedForParser(arguments);
    if (reversed.empty() || reversed.back().starts_with('-')) {
        return parseProgram(std::move(reversed));
    }
    const auto *const command =
        std::find_if(commands.begin(), commands.end(),
                     [&reversed](const Command &known) { return known.name == reversed.back(); });
    if (command == commands.end()) {
        return UsageError{"'" + reversed.back() + "' is not a command: list, watch or kill"};
    }
    reversed.pop_back();
    return command->parse(std::move(reversed));
}

} // namespace Tarnwick
