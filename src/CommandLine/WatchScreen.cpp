// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchScreen.h"

#include "CommandLine/ListenerTable.h"
#include "CommandLine/TerminalText.h"
#include "CommandLine/WatchPane.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace Tarnwick {

namespace {

// ECMA-48: CUP, EL, ED and SGR.
constexpr std::string_view toTheTop = "\x1b[H";
constexpr std::string_view clearRestOfLine = "\x1b[K";
constexpr std::string_view clearBelow = "\x1b[J";
constexpr std::string_view reverseVideo = "\x1b[7m";
constexpr std::string_view plainVideo = "\x1b[0m";

constexpr std::size_t minColumns = 2;
/// How old the uptimes may be that are shown; longer than scans are apart as a rule.
constexpr std::chrono::seconds refreshInterval(3);
constexpr auto toTheEnd = std::numeric_limits<std::ptrdiff_t>::max() / 2;

void removeLastCharacter(std::string &text)
{
    while (!text.empty()) {
        const auto last = static_cast<unsigned char>(text.back());
        text.pop_back();
        if ((last & 0xC0U) != 0x80U) { // no continuation byte of UTF-8
            return;
        }
    }
}

std::string padded(std::string text, std::size_t columns)
{
    text.append(columns - std::min(columns, TerminalText::width(text)), ' ');
    return text;
}

std::vector<std::string> wrapped(const std::vector<std::string> &lines, std::size_t columns)
{
    std::vector<std::string> result;
    for (const std::string &line : lines) {
        std::vector<std::string> parts = TerminalText::wrapped(line, std::max(columns, minColumns));
        std::move(parts.begin(), parts.end(), std::back_inserter(result));
    }
    return result;
}

} // namespace

WatchScreen::WatchScreen(const Console &console, ProcessEnder &ender, std::string nothingFound)
    : m_console(console)
    , m_nothingFound(std::move(nothingFound))
    , m_list(console.environment.home)
    , m_stop(ender, console.environment)
{
}

std::error_code WatchScreen::show(std::vector<Listener> listeners)
{
    if (std::exchange(m_hasScanned, true)) {
        m_history.note(m_list.listeners(), listeners, m_console.now());
    }
    m_list.update(std::move(listeners));
    m_failure.clear();
    const auto latest =
        std::find_if(m_list.listeners().begin(), m_list.listeners().end(),
                     [this](const Listener &other) { return other.entry == m_detailed.entry; });
    m_isDetailedClosed = latest == m_list.listeners().end();
    if (!m_isDetailedClosed) {
        m_detailed = *latest;
    }
    return redraw();
}

std::error_code WatchScreen::showFailure(std::string_view message)
{
    m_failure = TerminalText::printable(message);
    return redraw();
}

WatchView::Clock::time_point WatchScreen::deadline() const
{
    return std::min(m_stop.deadline(), m_drawn + refreshInterval);
}

std::error_code WatchScreen::redraw()
{
    m_drawn = Clock::now();
    return m_console.output.write(frame(m_console.output.terminal()));
}

WatchView::KeyResult WatchScreen::press(const Key &key)
{
    if (m_stop.isAsking()) {
        m_stop.answer(key);
        return m_stop.isAsking() ? KeyResult::DiscardKeys : KeyResult::Done;
    }
    m_stop.dismissMessage();
    if (m_mode == Mode::Filter) {
        pressInFilter(key);
        return KeyResult::Done;
    }
    if (key.is('q')) {
        return KeyResult::Quit;
    }
    if (key.is('x') || key.code == Key::Code::Delete) {
        return ask() ? KeyResult::DiscardKeys : KeyResult::Done;
    }
    if (key.is('?') || key.code == Key::Code::Help) {
        open(m_mode == Mode::Help ? Mode::List : Mode::Help);
    } else if (key.is('h')) {
        open(m_mode == Mode::History ? Mode::List : Mode::History);
    } else if (m_mode == Mode::List) {
        pressInList(key);
    } else {
        pressInPane(key);
    }
    return KeyResult::Done;
}

void WatchScreen::pressInList(const Key &key)
{
    if (moves(key)) {
        return;
    }
    constexpr std::size_t count = WatchList::orderCount;
    const auto order = static_cast<std::size_t>(m_list.order());
    const auto sortBy = [this](std::size_t number) {
        m_list.setOrder(static_cast<WatchList::Order>(number % count), false);
    };
    if (key.is('/')) {
        open(Mode::Filter);
    } else if (key.is('s')) {
        sortBy(order + 1);
    } else if (key.is('S')) {
        sortBy(order + count - 1);
    } else if (key.is('r')) {
        m_list.setOrder(m_list.order(), !m_list.isReversed());
    } else if (key.code == Key::Code::Escape) {
        m_list.setFilter("");
    } else if (key.code == Key::Code::Enter && m_list.selected() != nullptr) {
        m_detailed = *m_list.selected();
        m_isDetailedClosed = false;
        open(Mode::Details);
    }
}

void WatchScreen::pressInFilter(const Key &key)
{
    std::string filter = m_list.filter();
    switch (key.code) {
    case Key::Code::Character:
        m_list.setFilter(filter + key.text);
        return;
    case Key::Code::Backspace:
        removeLastCharacter(filter);
        m_list.setFilter(std::move(filter));
        return;
    case Key::Code::Escape:
        m_list.setFilter("");
        break;
    case Key::Code::Enter:
        break;
    case Key::Code::Control:
        if (key.text == "U") {
            m_list.setFilter("");
        }
        return;
    default:
        static_cast<void>(moves(key));
        return;
    }
    open(Mode::List);
}

void WatchScreen::pressInPane(const Key &key)
{
    if (!moves(key) && (key.code == Key::Code::Escape || key.code == Key::Code::Enter ||
                        key.code == Key::Code::Backspace)) {
        open(Mode::List);
    }
}

/// Whether the key was one that moves the selection, or the text that is shown in its place.
bool WatchScreen::moves(const Key &key)
{
    using Code = Key::Code;
    const bool isTyped = m_mode != Mode::Filter; // where letters are commands
    const auto page = static_cast<std::ptrdiff_t>(m_page);
    std::ptrdiff_t rows = 0;
    if (key.code == Code::Up || (isTyped && key.is('k'))) {
        rows = -1;
    } else if (key.code == Code::Down || (isTyped && key.is('j'))) {
        rows = 1;
    } else if (key.code == Code::PageUp) {
        rows = -page;
    } else if (key.code == Code::PageDown || (isTyped && key.is(' '))) {
        rows = page;
    } else if (key.code == Code::Home || (isTyped && key.is('g'))) {
        rows = -toTheEnd;
    } else if (key.code == Code::End || (isTyped && key.is('G'))) {
        rows = toTheEnd;
    } else {
        return false;
    }
    if (m_mode == Mode::List || m_mode == Mode::Filter) {
        m_list.move(rows);
    } else {
        m_scroll = static_cast<std::size_t>(
            std::max<std::ptrdiff_t>(0, static_cast<std::ptrdiff_t>(m_scroll) + rows));
    }
    return true;
}

void WatchScreen::open(Mode mode)
{
    m_mode = mode;
    m_scroll = 0;
}

/// Whether a question came up.
bool WatchScreen::ask()
{
    if (m_mode == Mode::Details && !m_isDetailedClosed) {
        m_stop.ask(m_detailed, m_list.listeners());
    } else if (m_mode == Mode::List && m_list.selected() != nullptr) {
        m_stop.ask(*m_list.selected(), m_list.listeners());
    }
    const TerminalShape shape = m_console.output.terminal();
    if (m_stop.isAsking() && footer(shape).size() > shape.rows) {
        m_stop.cancel("No room to ask.");
    }
    return m_stop.isAsking();
}

std::string WatchScreen::frame(const TerminalShape &shape)
{
    const std::size_t footerRows = std::min(footer(shape).size(), shape.rows);
    std::vector<std::string> lines = body(shape.rows - footerRows, shape);
    // Which rows are visible is known by now.
    std::vector<std::string> last = footer(shape);
    last.resize(footerRows);
    std::move(last.begin(), last.end(), std::back_inserter(lines));
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

std::vector<std::string> WatchScreen::body(std::size_t rows, const TerminalShape &shape)
{
    return m_mode == Mode::List || m_mode == Mode::Filter ? table(rows, shape) : pane(rows, shape);
}

std::vector<std::string> WatchScreen::table(std::size_t rows, const TerminalShape &shape)
{
    constexpr std::size_t titles = 1;
    m_page = rows > titles ? rows - titles : 1;
    if (m_list.size() == 0 || rows <= titles) {
        return {};
    }
    const std::vector<Listener> visible = m_list.visible(rows - titles);
    const auto lines = [&](ColorDepth depth) {
        return ListenerTable(visible, {.now = m_console.now(),
                                       .home = m_console.environment.home,
                                       .style = Style(depth)})
            .lines(shape.columns);
    };
    std::vector<std::string> result = lines(colorDepth(m_console.environment, shape.isTerminal));
    // Without styles of its own, which would end the one of the selection.
    const std::size_t selected = m_list.selectedIndex() - m_list.firstVisible() + titles;
    const std::string plain = lines(ColorDepth::None).at(selected);
    result.at(selected) =
        std::string(reverseVideo).append(padded(plain, shape.columns)).append(plainVideo);
    return result;
}

std::vector<std::string> WatchScreen::pane(std::size_t rows, const TerminalShape &shape)
{
    const WatchPane::Context context{.now = m_console.now(), .home = m_console.environment.home};
    std::vector<std::string> lines;
    if (m_mode == Mode::Details) {
        lines = WatchPane::details(m_detailed, m_history, context);
    } else {
        lines =
            m_mode == Mode::History ? WatchPane::history(m_history, context) : WatchPane::help();
    }
    lines = wrapped(lines, shape.columns);
    m_page = std::max<std::size_t>(rows, 1);
    m_scroll = std::min(m_scroll, lines.size() - std::min(lines.size(), rows));
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(m_scroll));
    // The last line of the screen stays where it is.
    lines.resize(rows);
    for (std::string &line : lines) {
        line = TerminalText::cut(line, shape.columns);
    }
    return lines;
}

/// A question has as many lines as it needs: it is answered only where all of it is seen.
std::vector<std::string> WatchScreen::footer(const TerminalShape &shape) const
{
    if (m_stop.isAsking()) {
        return wrapped({m_stop.question()}, shape.columns);
    }
    return {TerminalText::cut(lastLine(), shape.columns)};
}

std::string WatchScreen::lastLine() const
{
    if (m_mode == Mode::Filter) {
        return "/" + TerminalText::printable(m_list.filter()) + "_  " +
               std::to_string(m_list.size()) + " of " + std::to_string(m_list.listeners().size());
    }
    if (!m_stop.message().empty()) {
        return m_stop.message();
    }
    if (!m_failure.empty()) {
        return m_failure;
    }
    if (m_mode == Mode::Details) {
        return m_isDetailedClosed ? "It listens no more.  Esc: back  q: quit"
                                  : "Esc: back  x: stop  h: history  q: quit";
    }
    if (m_mode != Mode::List) {
        return "Esc: back  q: quit";
    }
    return listState();
}

std::string WatchScreen::listState() const
{
    std::string text =
        m_list.listeners().empty() ? m_nothingFound : ListenerTable::summary(m_list.listeners());
    if (!m_list.filter().empty()) {
        text = std::to_string(m_list.size()) + " of " + std::to_string(m_list.listeners().size()) +
               " with \"" + TerminalText::printable(m_list.filter()) + "\"";
    }
    if (m_list.size() > m_page) {
        const std::size_t last = std::min(m_list.firstVisible() + m_page, m_list.size());
        text =
            std::to_string(m_list.firstVisible() + 1) + "-" + std::to_string(last) + " of " + text;
    }
    if (m_list.order() != WatchList::Order::Port || m_list.isReversed()) {
        std::string order("(by ");
        order.append(WatchList::name(m_list.order()));
        text.insert(0, order.append(m_list.isReversed() ? ", reversed) " : ") "));
    }
    if (!m_history.changes().empty()) {
        const WatchHistory::Change &latest = m_history.changes().back();
        text += (latest.isOpened ? "  + :" : "  - :") + std::to_string(latest.port) + " " +
                latest.process;
    }
    return text + "  ?: help";
}

} // namespace Tarnwick
