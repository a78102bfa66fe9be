// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListCommand.h"

#include "CommandLine/JsonListing.h"
#include "CommandLine/ListenerFilter.h"
#include "CommandLine/ListenerTable.h"
#include "CommandLine/TerminalText.h"

#include <string>
#include <utility>

namespace Tarnwick {

ListCommand::ListCommand(ListArguments arguments, const Console &console, ListenerSource &source)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_source(source)
{
}

ExitCode ListCommand::run()
{
    Listing listing = m_source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        m_console.sayError(error->message);
        return ExitCode::Failed;
    }
    const ListenerFilter filter(m_arguments.selection, m_console.environment.home);
    auto listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                   m_source.sockets(), m_source.details(), *m_source.tierRules());
    filter.apply(listeners);

    const ExitCode code = listeners.empty() ? ExitCode::NothingDone : ExitCode::Done;
    if (listeners.empty()) {
        m_console.say(filter.nothingFound());
    }
    if (m_arguments.json) {
        return m_console.concluded(JsonListing::write(listeners, m_console.output), code);
    }
    if (listeners.empty()) {
        return code;
    }
    mergeEqual(listeners);
    return m_console.finish(table(listeners), code);
}

std::string ListCommand::table(const std::vector<Listener> &listeners) const
{
    const TerminalShape shape = m_console.output.terminal();
    const ListenerTable table(
        listeners, {.now = m_console.now(),
                    .home = m_console.environment.home,
                    .style = Style(colorDepth(m_console.environment, shape.isTerminal))});
    const std::size_t width = shape.isTerminal ? shape.columns : Table::anyWidth;
    std::string text;
    for (const std::string &line : table.lines(width)) {
        text.append(line).append("\n");
    }
    const std::string summary = TerminalText::cut(ListenerTable::summary(listeners), width);
    return text.append(summary).append("\n");
}

} // namespace Tarnwick
