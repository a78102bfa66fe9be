// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchLines.h"

#include "CommandLine/JsonListing.h"
#include "CommandLine/ListenerChanges.h"
#include "CommandLine/TerminalText.h"

#include <utility>

namespace Tarnwick {

std::error_code WatchLines::show(std::vector<Listener> listeners)
{
    m_hasFailed = false;
    std::string lines;
    for (const Listener *closed : listenersOnlyIn(m_listeners, listeners)) {
        lines += line(Change::Closed, *closed);
    }
    for (const Listener *opened : listenersOnlyIn(listeners, m_listeners)) {
        lines += line(Change::Opened, *opened);
    }
    m_listeners = std::move(listeners);
    return lines.empty() ? std::error_code() : m_console.output.write(lines);
}

std::error_code WatchLines::showFailure(std::string_view message)
{
    if (!m_hasFailed) {
        m_console.sayError(message);
    }
    m_hasFailed = true;
    return {};
}

std::string WatchLines::line(Change change, const Listener &listener) const
{
    const bool isOpened = change == Change::Opened;
    if (m_format == Format::Json) {
        return JsonListing::changeLine(m_console.now(), isOpened ? "opened" : "closed", listener);
    }
    const PortEntry &entry = listener.entry;
    std::string text = isOpened ? "+ :" : "- :";
    text.append(std::to_string(entry.port)).append(" ");
    text.append(TerminalText::printable(entry.process)).append(" ");
    text.append(entry.pid != 0 ? std::to_string(entry.pid) : "-").append("\n");
    return text;
}

} // namespace Tarnwick
