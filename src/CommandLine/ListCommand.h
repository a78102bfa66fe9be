// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ListenerSource.h"

namespace Tarnwick {

/// Shows the listeners once, as a table or as JSON.
class ListCommand
{
public:
    ListCommand(ListArguments arguments, const Console &console, ListenerSource &source);

    [[nodiscard]] ExitCode run();

private:
    [[nodiscard]] std::string table(const std::vector<Listener> &listeners) const;

    ListArguments m_arguments;
    const Console &m_console;
    ListenerSource &m_source;
};

} // namespace Tarnwick
