// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerTable.h"

#include "CommandLine/TerminalText.h"
#include "Models/ByteCount.h"
#include "Models/Uptime.h"
#include "Shared/EntryText.h"

#include <algorithm>

namespace Tarnwick {

namespace {

std::vector<Table::Column> columns()
{
    using Alignment = Table::Alignment;
    // Longer process names than this leave the command too little of a terminal.
    constexpr std::size_t widestProcess = 30;
    return {{"PORT", Alignment::Right},
            {"TIER"},
            {"PID", Alignment::Right},
            {"PROCESS", Alignment::Left, widestProcess},
            {"UPTIME", Alignment::Right},
            {"MEMORY", Alignment::Right},
            {"COMMAND"}};
}

Table::Row row(const PortEntry &entry, const ListenerTable::Context &context)
{
    const bool isSystem = entry.tier == PortTier::System;
    const std::string accent = context.style.accent(entry.tier);
    const std::string memory = entry.memoryBytes > 0 ? ByteCount::format(entry.memoryBytes) : "";
    // Nobody knows when an unknown owner started.
    const std::string uptime = entry.pid != 0 ? Uptime::format(entry.openedAt, context.now) : "-";
    const std::string command = EntryText::fullCommand(entry, context.home);
    return {.style = std::string(isSystem ? context.style.dimmed() : ""),
            .cells = {{std::to_string(entry.port), accent},
                      {std::string(rawValue(entry.tier)), accent},
                      {entry.pid != 0 ? std::to_string(entry.pid) : "-", {}},
                      {TerminalText::printable(entry.process), {}},
                      {uptime, {}},
                      {memory, {}},
                      {TerminalText::printable(command), {}}}};
}

} // namespace

ListenerTable::ListenerTable(std::span<const Listener> listeners, const Context &context)
    : m_table(columns())
    , m_style(context.style)
{
    for (const Listener &listener : listeners) {
        m_table.add(row(listener.entry, context));
    }
}

std::vector<std::string> ListenerTable::lines(std::size_t width) const
{
    return m_table.lines(m_style, width);
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
