// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Arguments.h"
#include "CommandLine/Console.h"
#include "CommandLine/Listener.h"
#include "CommandLine/ListenerFilter.h"
#include "CommandLine/ListenerSource.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// Shows the listeners once, as a table, as JSON or as process identifiers.
class ListCommand
{
public:
    ListCommand(ListArguments arguments, const Console &console, ListenerSource &source);

    [[nodiscard]] ExitCode run();

    /// Shows the listeners of other machines, as they were listed there with the same selection.
    [[nodiscard]] ExitCode show(std::vector<Listener> listeners) const;

private:
    [[nodiscard]] ExitCode writeAsVisited();
    [[nodiscard]] ExitCode writeJson(const std::vector<Listener> &listeners) const;
    [[nodiscard]] ExitCode writePids(const std::vector<Listener> &listeners) const;
    [[nodiscard]] ExitCode writeTable(std::vector<Listener> listeners) const;
    [[nodiscard]] bool wants(std::initializer_list<Column> columns) const;
    void addSurroundings(std::vector<Listener> &listeners) const;
    [[nodiscard]] std::string table(const std::vector<Listener> &listeners) const;

    ListArguments m_arguments;
    const Console &m_console;
    ListenerSource &m_source;
    ListenerFilter m_filter;
};

} // namespace Tarnwick
