// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/CommandParser.h"

#include "CommandLine/Number.h"
#include "CommandLine/Ssh.h"
#include "Shared/Version.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace Tarnwick {

namespace {

constexpr std::int64_t minPort = 1;
constexpr std::int64_t maxPort = 65'535;

/// Says what is wrong with the first of @p rest, which the parser did not know. The "--" that
/// ends the options is kept in front of what comes behind it.
std::string unexpected(const std::vector<std::string> &rest)
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

} // namespace

std::optional<std::int64_t> portFrom(std::string_view text)
{
    return parseNumber(text, minPort, maxPort);
}

std::optional<std::int32_t> pidFrom(std::string_view text)
{
    return parseNumberAs<std::int32_t>(text, 1, std::numeric_limits<std::int32_t>::max());
}

std::optional<std::chrono::milliseconds>
secondsFrom(std::string_view text, std::chrono::milliseconds min, std::chrono::milliseconds max)
{
    const std::size_t point = std::min(text.find('.'), text.size());
    const bool hasDecimals = point < text.size();
    std::string decimals(hasDecimals ? text.substr(point + 1) : "0");
    const bool areDigits =
        !decimals.empty() && decimals.find_first_not_of("0123456789") == decimals.npos;
    decimals.resize(3, '0');
    const auto maxSeconds = std::chrono::floor<std::chrono::seconds>(max).count();
    const auto seconds = parseNumber(text.substr(0, point), 0, maxSeconds);
    const auto milliseconds = parseNumber(decimals, 0, 999);
    if (!areDigits || !seconds || !milliseconds) {
        return std::nullopt;
    }
    const auto time = std::chrono::seconds(*seconds) + std::chrono::milliseconds(*milliseconds);
    return time >= min && time <= max ? std::optional(time) : std::nullopt;
}

CommandParser::CommandParser(std::string_view name, std::string_view description,
                             std::string_view examples)
    : App(std::string(description), std::string(name))
    , m_command(name.substr(0, name.find(" [")))
{
    set_help_flag("-h,--help", "Print this help and exit")->disable_flag_override();
    set_version_flag("--version", "tarnwickctl " + std::string(Tarnwick::version),
                     "Print the version and exit")
        ->disable_flag_override();
    footer(std::string(examples));
}

void CommandParser::addFlag(const std::string &names, bool &flag, const std::string &description)
{
    add_flag(names, flag, description)->disable_flag_override();
}

void CommandParser::addHosts(std::vector<std::string> &hosts)
{
    const auto host = [](std::string_view text) {
        return Ssh::isHost(text) ? std::optional(text) : std::nullopt;
    };
    add_option("--host", hosts, "On this machine, through ssh; may be repeated")
        ->type_name("[USER@]HOST")
        ->allow_extra_args(false)
        ->check(understoodBy(host, "a host that ssh takes"));
}

/// Nothing once all is parsed.
std::optional<Arguments> CommandParser::parseAll(std::vector<std::string> reversed)
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
    return std::nullopt;
}

UsageError CommandParser::usageError(std::string message) const
{
    return {std::move(message), m_command};
}

/// Says what is wrong with the number of an option's values. @p text is the parser's message,
/// which begins with the option's name, sometimes without its dashes.
std::string CommandParser::mismatch(std::string_view text) const
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

} // namespace Tarnwick
