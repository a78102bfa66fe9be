// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListCommand.h"

#include "CommandLine/JsonListing.h"
#include "CommandLine/ListenerTable.h"
#include "CommandLine/TerminalText.h"
#include "CommandLine/VisitedJson.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <unordered_set>
#include <utility>

namespace Tarnwick {

ListCommand::ListCommand(ListArguments arguments, const Console &console, ListenerSource &source)
    : m_arguments(std::move(arguments))
    , m_console(console)
    , m_source(source)
    , m_filter(m_arguments.selection, console.environment.home)
{
}

ExitCode ListCommand::run()
{
    if (m_arguments.json && m_arguments.order.empty()) {
        return writeAsVisited();
    }
    Listing listing = m_source.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        m_console.sayError(error->message);
        return ExitCode::Failed;
    }
    auto listeners = listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)),
                                   m_source.sockets(), m_source.details(), *m_source.tierRules());
    noteShadows(listeners);
    m_filter.apply(listeners);
    addSurroundings(listeners);

    if (listeners.empty()) {
        m_console.say(m_filter.nothingFound());
    }
    if (!m_arguments.json && !m_arguments.pidsOnly) {
        mergeEqual(listeners);
    }
    Columns::sort(listeners, m_arguments.order);
    if (m_arguments.json) {
        return writeJson(listeners);
    }
    if (listeners.empty()) {
        return ExitCode::NothingDone;
    }
    return m_arguments.pidsOnly ? writePids(listeners) : writeTable(std::move(listeners));
}

ExitCode ListCommand::show(std::vector<Listener> listeners) const
{
    if (listeners.empty()) {
        m_console.say(m_filter.nothingFound());
        return ExitCode::NothingDone;
    }
    Columns::sort(listeners, m_arguments.order);
    return writeTable(std::move(listeners));
}

ExitCode ListCommand::writeAsVisited()
{
    VisitedJson json(m_source, m_filter, m_console.output);
    const std::optional<ListingError> error =
        m_source.visit([&json](std::span<const VisitedListener> onePort) { json.add(onePort); });
    if (error) {
        m_console.sayError(error->message);
        return ExitCode::Failed;
    }
    if (json.isEmpty()) {
        m_console.say(m_filter.nothingFound());
    }
    const ExitCode code = json.isEmpty() ? ExitCode::NothingDone : ExitCode::Done;
    return m_console.concluded(json.finish(), code);
}

ExitCode ListCommand::writeJson(const std::vector<Listener> &listeners) const
{
    const ExitCode code = listeners.empty() ? ExitCode::NothingDone : ExitCode::Done;
    return m_console.concluded(JsonListing::write(listeners, m_console.output), code);
}

ExitCode ListCommand::writePids(const std::vector<Listener> &listeners) const
{
    std::string text;
    std::size_t unknown = 0;
    std::unordered_set<std::int64_t> written;
    for (const Listener &listener : listeners) {
        const std::int64_t pid = listener.entry.pid;
        if (pid == 0) {
            ++unknown;
        } else if (written.insert(pid).second) {
            text.append(std::to_string(pid)).append("\n");
        }
    }
    if (unknown > 0) {
        m_console.sayError("The owner of " + std::to_string(unknown) +
                           (unknown == 1 ? " socket" : " sockets") + " is unknown." +
                           (m_console.environment.isRoot ? "" : " Running as root may help."));
    }
    return m_console.finish(text, text.empty() ? ExitCode::NothingDone : ExitCode::Done);
}

ExitCode ListCommand::writeTable(std::vector<Listener> listeners) const
{
    if (m_arguments.grouping != Grouping::None) {
        GroupedListeners::sort(listeners, m_arguments.grouping);
    }
    return m_console.finish(table(listeners), ExitCode::Done);
}

/// Whether one of @p columns is shown or sorted by.
bool ListCommand::wants(std::initializer_list<Column> columns) const
{
    return std::any_of(columns.begin(), columns.end(), [this](Column column) {
        const std::vector<Column> &shown = m_arguments.columns;
        const std::vector<SortKey> &order = m_arguments.order;
        return std::find(shown.begin(), shown.end(), column) != shown.end() ||
               std::any_of(order.begin(), order.end(),
                           [column](const SortKey &key) { return key.column == column; });
    });
}

/// Each costs looking further than the listing does.
void ListCommand::addSurroundings(std::vector<Listener> &listeners) const
{
    const bool wantsProjects = m_arguments.json || m_arguments.grouping == Grouping::Project ||
                               wants({Column::Project, Column::Branch});
    const bool wantsAncestors = m_arguments.json || wants({Column::Parent});
    for (Listener &listener : listeners) {
        const auto pid = static_cast<std::int32_t>(listener.entry.pid);
        if (wantsProjects && pid != 0) {
            listener.project = m_source.project(pid, listener.record.cwd);
        }
        if (wantsAncestors && pid != 0) {
            listener.ancestors = m_source.listedAncestors(pid);
        }
    }
}

std::string ListCommand::table(const std::vector<Listener> &listeners) const
{
    const TerminalShape shape = m_console.output.terminal();
    const ListenerTable table(listeners,
                              {.now = m_console.now(),
                               .home = m_console.environment.home,
                               .style = Style(colorDepth(m_console.environment, shape.isTerminal)),
                               .columns = m_arguments.columns,
                               .grouping = m_arguments.grouping});
    const std::size_t width = shape.isTerminal ? shape.columns : Table::anyWidth;
    std::string text;
    for (const std::string &line : table.lines(width)) {
        text.append(line).append("\n");
    }
    // A sentence that is cut says nothing.
    for (const std::string &note : ListenerTable::notes(listeners)) {
        text.append(note).append("\n");
    }
    const std::string summary = TerminalText::cut(ListenerTable::summary(listeners), width);
    return text.append(summary).append("\n");
}

} // namespace Tarnwick
