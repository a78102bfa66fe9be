// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/PortProbe.h"

namespace Tarnwick {

/// Prints the URL at which something listens on a port: on one line, for scripts.
class UrlCommand
{
public:
    UrlCommand(UrlArguments arguments, const Console &console, const PortProbe &ports);

    /// `NothingDone` when nothing listens there.
    [[nodiscard]] ExitCode run();

private:
    UrlArguments m_arguments;
    const Console &m_console;
    const PortProbe &m_ports;
};

} // namespace Tarnwick
