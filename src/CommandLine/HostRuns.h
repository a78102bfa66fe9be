// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/ExitCode.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// One command on several hosts, some of them at a time.
class HostRuns
{
public:
    struct Limits
    {
        std::size_t atOnce = 8;                     ///< hosts
        std::size_t maxOutput = 64UL * 1024 * 1024; ///< bytes of one host that are kept
        std::size_t maxErrors = 16UL * 1024;        ///< the same of its standard error
    };

    /// What one host answered.
    struct Result
    {
        std::string host;
        std::string output; ///< of tarnwickctl there; without what was passed on as lines
        std::string errors; ///< of tarnwickctl there and of ssh
        /// What tarnwickctl there ended with; nothing where it did not run, or not to its end.
        std::optional<ExitCode> code;
        std::string failure; ///< why there is none, for people; empty where all runs were ended
    };

    /// Gets each whole line of a host, without its line feed, as it comes, instead of
    /// Result::output; false ends all runs. @p host is an index.
    using TakeLine = std::function<bool(std::size_t host, std::string_view line)>;

    HostRuns(std::vector<std::string> hosts, std::vector<std::string> arguments);
    HostRuns(std::vector<std::string> hosts, std::vector<std::string> arguments, Limits limits);

    /// Runs tarnwickctl with the arguments on all hosts and waits for the last of them; without
    /// @p mayAsk no host may ask for a password. The results are in the order of the hosts. One
    /// that writes more than it may is ended, and has failed. All runs end when the reader of @p
    /// output, a descriptor or -1, has gone.
    [[nodiscard]] std::vector<Result> run(bool mayAsk, const TakeLine &takeLine = {},
                                          int output = -1) const;

    /// The same on the terminal of this process, one host after the other.
    [[nodiscard]] std::vector<Result> runOnTerminal() const;

private:
    std::vector<std::string> m_hosts;
    std::vector<std::string> m_arguments;
    Limits m_limits;
};

} // namespace Tarnwick
