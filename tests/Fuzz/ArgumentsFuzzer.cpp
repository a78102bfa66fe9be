// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each line of an input for an argument of both programs.

#include "App/LaunchArguments.h"
#include "CommandLine/Arguments.h"
#include "CommandLine/TerminalText.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <string>
#include <variant>
#include <vector>

using namespace Tarnwick;

namespace {

std::vector<std::string> linesOf(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        lines.emplace_back(line.substr(0, line.find('\0')));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return lines;
}

void check(const Arguments &arguments)
{
    if (const auto *const error = std::get_if<UsageError>(&arguments)) {
        require(!error->message.empty() && error->command.starts_with("tarnwickctl"));
        static_cast<void>(TerminalText::printable(error->message));
    } else if (const auto *const information = std::get_if<Information>(&arguments)) {
        require(information->text.ends_with('\n'));
    } else if (const auto *const kill = std::get_if<KillArguments>(&arguments)) {
        require(kill->ports.empty() != kill->pids.empty());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::vector<std::string> lines = linesOf(textOf(data, size));
    std::vector<const char *> arguments;
    arguments.reserve(lines.size());
    for (const std::string &line : lines) {
        arguments.push_back(line.c_str());
    }
    check(parseArguments(arguments));
    const LaunchArguments launch = LaunchArguments::parse(arguments);
    require(launch.request == LaunchArguments::Request::Refuse || launch.refused.empty());
    return 0;
}
