// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"
#include "CommandLine/HostRuns.h"
#include "CommandLine/Listener.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// A command on other machines: what each of them answers, with its name. What a machine sends is
/// made fit for a terminal, as what processes are called is.
class HostsCommand
{
public:
    /// @p arguments are those of tarnwickctl there.
    HostsCommand(std::vector<std::string> hosts, std::vector<std::string> arguments,
                 const Console &console);

    /// Runs on all hosts at once. Each line of the output comes with the host in front, with @p
    /// json as the first member of the object that begins in it. Ends with the highest code of a
    /// host.
    [[nodiscard]] ExitCode run(bool json) const;

    /// The same for a command that goes on: each line comes at once.
    [[nodiscard]] ExitCode follow(bool json) const;

    /// One host after the other on this terminal, where the user answers the questions of the
    /// command there.
    [[nodiscard]] ExitCode runOnTerminal() const;

    /// The listings of all hosts, which tarnwickctl there writes as JSON. A host whose answer is no
    /// listing has failed. Ends as conclude() does, and with Done where there is any listener.
    struct Listings
    {
        std::vector<Listener> listeners; ///< in the order of the hosts
        ExitCode code;
    };
    [[nodiscard]] Listings list() const;

    /// Writes them as one array.
    [[nodiscard]] ExitCode writeListings() const;

    /// Prints what the hosts wrote to their standard error, and why there is no answer of some.
    /// The highest code of all.
    [[nodiscard]] ExitCode conclude(std::span<const HostRuns::Result> results) const;

private:
    [[nodiscard]] std::string marked(const std::string &host, std::string_view line,
                                     bool json) const;
    [[nodiscard]] bool mayAsk() const;
    [[nodiscard]] std::vector<HostRuns::Result> runToEnd() const;
    [[nodiscard]] ExitCode concludeListings(std::span<const HostRuns::Result> results,
                                            bool hasListeners) const;

    std::vector<std::string> m_hosts;
    std::vector<std::string> m_arguments;
    const Console &m_console;
};

/// @p arguments, those after the program's name, without the @p options, which have values.
[[nodiscard]] std::vector<std::string> argumentsWithout(std::span<const std::string_view> options,
                                                        std::span<const char *const> arguments);

} // namespace Tarnwick
