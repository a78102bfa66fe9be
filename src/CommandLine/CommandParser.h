// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {

/// The port that @p text is, 1 to 65535; nothing for any other text.
[[nodiscard]] std::optional<std::int64_t> portFrom(std::string_view text);

/// The process identifier that @p text is, from 1; nothing for any other text.
[[nodiscard]] std::optional<std::int32_t> pidFrom(std::string_view text);

/// The time that @p text is in seconds, with any number of decimals of which three count; nothing
/// for any other text, and outside of @p min to @p max. (Reading a floating-point number would load
/// the library of mathematics with every start of the program.)
[[nodiscard]] std::optional<std::chrono::milliseconds>
secondsFrom(std::string_view text, std::chrono::milliseconds min, std::chrono::milliseconds max);

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

/// The parser of the options and arguments of one command.
class CommandParser : public CLI::App
{
public:
    /// @p name is the command with the program in front of it.
    CommandParser(std::string_view name, std::string_view description, std::string_view examples);

    /// A flag that takes no value.
    void addFlag(const std::string &names, bool &flag, const std::string &description);

    /// The option --host, which may be repeated.
    void addHosts(std::vector<std::string> &hosts);

    /// The result of @p read once @p reversed, the arguments with the last one first, is parsed;
    /// the help or the version if asked for, or what is wrong.
    template<class Read>
    Arguments parsed(std::vector<std::string> reversed, Read read)
    {
        std::optional<Arguments> other = parseAll(std::move(reversed));
        return other ? *std::move(other) : Arguments(read());
    }

    [[nodiscard]] UsageError usageError(std::string message) const;

private:
    [[nodiscard]] std::optional<Arguments> parseAll(std::vector<std::string> reversed);
    [[nodiscard]] std::string mismatch(std::string_view text) const;

    std::string m_command; ///< what has the help
};

} // namespace Tarnwick
