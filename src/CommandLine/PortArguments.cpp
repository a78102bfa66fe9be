// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/PortArguments.h"

#include "CommandLine/CommandParser.h"
#include "CommandLine/HelpText.h"

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// A day, in which a script that waits has long been given up.
constexpr std::chrono::hours longestTimeout(24);

std::optional<std::chrono::milliseconds> timeoutFrom(std::string_view text)
{
    return secondsFrom(text, std::chrono::milliseconds(0), longestTimeout);
}

constexpr std::string_view expectedPort = "a port: 1 to 65535";

template<class Target>
CLI::Option *addPorts(CommandParser &parser, Target &target, const std::string &description)
{
    return parser.add_option("PORT", target, description)
        ->type_name("")
        ->check(understoodBy(portFrom, expectedPort));
}

} // namespace

Arguments PortArguments::parseWhy(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl why", HelpText::why, HelpText::whyExamples);
    std::string port;
    WhyArguments result;
    addPorts(parser, port, "The port");
    parser.addFlag("--json", result.json, "Write JSON");
    parser.addHosts(result.hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        if (port.empty()) {
            return parser.usageError("why needs a PORT");
        }
        result.port = portFrom(port).value_or(0);
        return result;
    });
}

Arguments PortArguments::parseFree(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl free", HelpText::free, HelpText::freeExamples);
    std::vector<std::string> ports;
    FreeArguments result;
    addPorts(parser, ports, "The ports whose servers to stop");
    parser.addFlag("-y,--yes", result.yes, "Do not ask");
    parser.addFlag("--system", result.system, "Stop services of the system, too");
    parser.addFlag("--dry-run", result.dryRun, "Print what would be stopped, and do nothing");
    parser.addHosts(result.hosts);
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        if (ports.empty()) {
            return parser.usageError("free needs a PORT");
        }
        result.ports = valuesOf<std::int64_t>(ports, portFrom);
        return result;
    });
}

Arguments PortArguments::parseWait(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl wait", HelpText::wait, HelpText::waitExamples);
    std::vector<std::string> ports;
    bool isFree = false;
    std::string timeout;
    addPorts(parser, ports, "The ports to wait for, all of them");
    parser.addFlag("--free", isFree, "Wait until the ports can be bound instead");
    parser.add_option("--timeout", timeout, "Give up after that time: 0 to 86400; 0 checks once")
        ->type_name("SECONDS")
        ->check(understoodBy(timeoutFrom, "a number of seconds from 0 to 86400"));
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        if (ports.empty()) {
            return parser.usageError("wait needs a PORT");
        }
        using Awaited = WaitArguments::Awaited;
        return WaitArguments{.ports = valuesOf<std::int64_t>(ports, portFrom),
                             .awaited = isFree ? Awaited::FreePort : Awaited::Listener,
                             .timeout = timeoutFrom(timeout)};
    });
}

Arguments PortArguments::parseUrl(std::vector<std::string> reversed)
{
    CommandParser parser("tarnwickctl url", HelpText::url, HelpText::urlExamples);
    std::string port;
    addPorts(parser, port, "The port");
    return parser.parsed(std::move(reversed), [&]() -> Arguments {
        const std::optional<std::int64_t> number = portFrom(port);
        return number ? Arguments(UrlArguments{*number})
                      : Arguments(parser.usageError("url needs a PORT"));
    });
}

} // namespace Tarnwick
