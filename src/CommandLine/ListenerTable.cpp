// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerTable.h"

#include "CommandLine/AddressText.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>

namespace Tarnwick {

namespace {

/// Below this the commands of many servers look the same.
constexpr std::size_t minCommandWidth = 20;

std::vector<Table::Column> shapes(std::span<const Column> columns, bool areNamed)
{
    std::vector<Table::Column> shapes;
    shapes.reserve(columns.size());
    for (const Column column : columns) {
        shapes.push_back(Columns::shape(column, areNamed));
    }
    return shapes;
}

Table::Row row(const Listener &listener, std::span<const Column> columns,
               const ListenerTable::Context &context)
{
    const PortTier tier = listener.entry.tier;
    Table::Row row{.style = std::string(tier == PortTier::System ? context.style.dimmed() : "")};
    row.cells.reserve(columns.size());
    for (const Column column : columns) {
        const bool isAccented = column == Column::Port || column == Column::Tier;
        row.cells.push_back(
            {Columns::text(column, listener, {.now = context.now, .home = context.home}),
             isAccented ? context.style.accent(tier) : std::string()});
    }
    return row;
}

std::vector<Column> shownColumns(std::span<const Listener> listeners,
                                 const ListenerTable::Context &context)
{
    const bool hasHosts = !listeners.empty() && !listeners.front().host.empty();
    return context.columns.empty() ? Columns::usual(hasHosts) : context.columns;
}

std::string nameOf(std::string_view process, std::int64_t pid)
{
    std::string text = TerminalText::printable(process);
    return pid == 0 ? text : text + " (pid " + std::to_string(pid) + ")";
}

} // namespace

ListenerTable::ListenerTable(std::span<const Listener> listeners, const Context &context)
    : m_table(shapes(shownColumns(listeners, context), !context.columns.empty()), minCommandWidth)
    , m_style(context.style)
{
    const std::vector<Column> columns = shownColumns(listeners, context);
    for (std::size_t index = 0; index < listeners.size(); ++index) {
        if (context.grouping != Grouping::None) {
            std::string heading =
                GroupedListeners::heading(context.grouping, listeners[index], context.home);
            if (m_headings.empty() || m_headings.back().text != heading) {
                m_headings.push_back({std::move(heading), index});
            }
        }
        m_table.add(row(listeners[index], columns, context));
    }
}

std::vector<std::string> ListenerTable::lines(std::size_t width) const
{
    std::vector<std::string> rows = m_table.lines(m_style, width);
    if (m_headings.empty()) {
        return rows;
    }
    std::vector<std::string> lines;
    lines.reserve(rows.size() + m_headings.size());
    auto heading = m_headings.begin();
    for (std::size_t index = 0; index < rows.size(); ++index) {
        // The first line has the titles.
        if (heading != m_headings.end() && heading->row + 1 == index) {
            lines.push_back(std::string(m_style.bold()) + TerminalText::cut(heading->text, width) +
                            std::string(m_style.reset()));
            ++heading;
        }
        lines.push_back(std::move(rows[index]));
    }
    return lines;
}

std::vector<std::string> ListenerTable::notes(std::span<const Listener> listeners)
{
    std::vector<std::string> notes;
    for (const Listener &listener : listeners) {
        for (const Shadow &shadow : listener.shadows) {
            std::string note =
                listener.host.empty() ? "" : TerminalText::printable(listener.host) + ": ";
            note.append("Port ").append(std::to_string(listener.entry.port)).append(": ");
            note.append(TerminalText::printable(shadow.target)).append(" is answered by ");
            note.append(nameOf(shadow.processName, shadow.pid)).append(" at ");
            note.append(TerminalText::printable(shadow.address)).append(", not by ");
            note.append(nameOf(listener.entry.process, listener.entry.pid)).append(" at ");
            note.append(AddressText::of(listener)).append(".");
            notes.push_back(std::move(note));
        }
    }
    return notes;
}

std::string ListenerTable::summary(std::span<const Listener> listeners)
{
    std::string text = std::to_string(listeners.size());
    text += listeners.size() == 1 ? " listener" : " listeners";
    std::string_view separator = ": ";
    for (const PortTier tier : allPortTiers) {
        const auto count =
            std::count_if(listeners.begin(), listeners.end(),
                          [tier](const Listener &listener) { return listener.entry.tier == tier; });
        text.append(separator).append(std::to_string(count)).append(" ").append(rawValue(tier));
        separator = ", ";
    }
    return text;
}

} // namespace Tarnwick
