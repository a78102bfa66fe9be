// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/PortProbe.h"

#include <chrono>
#include <optional>
#include <string>
#include <variant>

namespace Tarnwick {

/// Blocks until something listens on all of the ports, or until nothing does and all of them can be
/// bound. Asks the kernel about these ports alone.
class WaitCommand
{
public:
    /// The delay between two checks grows from one to the other.
    struct Pace
    {
        std::chrono::milliseconds first{20};
        std::chrono::milliseconds longest{100};
    };

    WaitCommand(WaitArguments arguments, const Console &console, const PortProbe &ports);
    WaitCommand(WaitArguments arguments, const Console &console, const PortProbe &ports, Pace pace);

    /// `NothingDone` when the time is over.
    [[nodiscard]] ExitCode run();

private:
    /// What the port is still waited for, for people; empty when it is no more.
    using Check = std::variant<std::string, ListingError>;
    [[nodiscard]] Check check() const;
    [[nodiscard]] Check check(std::int64_t port) const;

    WaitArguments m_arguments;
    const Console &m_console;
    const PortProbe &m_ports;
    Pace m_pace;
};

} // namespace Tarnwick
