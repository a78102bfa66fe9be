// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchScreen.h"

#include "CommandLine/ListenerTable.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

namespace Tarnwick {

namespace {

// ECMA-48: CUP, EL and ED.
constexpr std::string_view toTheTop = "\x1b[H";
constexpr std::string_view clearRestOfLine = "\x1b[K";
constexpr std::string_view clearBelow = "\x1b[J";

} // namespace

WatchScreen::WatchScreen(const Console &console, std::string nothingFound)
    : m_console(console)
    , m_nothingFound(std::move(nothingFound))
{
}

std::error_code WatchScreen::show(std::vector<Listener> listeners)
{
    m_listeners = std::move(listeners);
    m_failure.clear();
    return redraw();
}

std::error_code WatchScreen::showFailure(std::string_view message)
{
    m_failure = TerminalText::printable(message);
    return redraw();
}

std::error_code WatchScreen::redraw()
{
    return m_console.output.write(frame(m_console.output.terminal()));
}

std::string WatchScreen::frame(const TerminalShape &shape) const
{
    std::vector<std::string> lines = table(shape);
    lines.push_back(TerminalText::cut(lastLine(), shape.columns));
    std::string text(toTheTop);
    std::string_view separator;
    for (const std::string &line : lines) {
        // Clearing before the text, for after it the cursor may still stand on the last column.
        text.append(separator).append(clearRestOfLine).append(line);
        separator = "\r\n";
    }
    // The cursor would clear the last column of a full line.
    if (lines.size() < shape.rows) {
        text.append("\r\n").append(clearBelow);
    }
    return text;
}

std::vector<std::string> WatchScreen::table(const TerminalShape &shape) const
{
    constexpr std::size_t titlesAndLastLine = 2;
    if (m_listeners.empty() || shape.rows <= titlesAndLastLine) {
        return {};
    }
    // The line that tells of the rest takes the place of a row.
    const std::size_t room = shape.rows - titlesAndLastLine;
    const bool fits = m_listeners.size() <= room;
    const std::size_t shown = fits ? m_listeners.size() : room - 1;
    const ListenerTable table(
        std::span<const Listener>(m_listeners).first(shown),
        {.now = m_console.now(),
         .home = m_console.environment.home,
         .style = Style(colorDepth(m_console.environment, shape.isTerminal))});
    std::vector<std::string> lines = table.lines(shape.columns);
    if (!fits) {
        const std::string rest = std::to_string(m_listeners.size() - shown);
        lines.push_back(TerminalText::cut("… and " + rest + " more", shape.columns));
    }
    return lines;
}

std::string WatchScreen::lastLine() const
{
    if (!m_failure.empty()) {
        return m_failure;
    }
    return m_listeners.empty() ? m_nothingFound : ListenerTable::summary(m_listeners);
}

} // namespace Tarnwick
