// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/WatchHistory.h"
#include "CommandLine/WatchList.h"
#include "CommandLine/WatchStop.h"
#include "CommandLine/WatchView.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Tarnwick {

/// A watch on a terminal: the table with a selected row, or a text in its place, drawn again in the
/// same place, never more than fits. The last line has the count of each tier, a question, or a
/// message. WatchPane::help() has the keys.
class WatchScreen : public WatchView
{
public:
    /// @p nothingFound is what to show in place of an empty table.
    WatchScreen(const Console &console, ProcessEnder &ender, std::string nothingFound);

    [[nodiscard]] std::error_code show(std::vector<Listener> listeners) override;
    [[nodiscard]] std::error_code showFailure(std::string_view message) override;
    [[nodiscard]] std::error_code redraw() override;
    [[nodiscard]] KeyResult press(const Key &key) override;
    [[nodiscard]] int descriptor() const override { return m_stop.descriptor(); }
    [[nodiscard]] Clock::time_point deadline() const override;
    void advance() override { m_stop.advance(); }

private:
    enum class Mode : std::uint8_t { List, Filter, Details, History, Help };

    void pressInList(const Key &key);
    void pressInFilter(const Key &key);
    void pressInPane(const Key &key);
    [[nodiscard]] bool moves(const Key &key);
    void open(Mode mode);
    [[nodiscard]] bool ask();

    [[nodiscard]] std::string frame(const TerminalShape &shape);
    [[nodiscard]] std::vector<std::string> body(std::size_t rows, const TerminalShape &shape);
    [[nodiscard]] std::vector<std::string> table(std::size_t rows, const TerminalShape &shape);
    [[nodiscard]] std::vector<std::string> pane(std::size_t rows, const TerminalShape &shape);
    [[nodiscard]] std::vector<std::string> footer(const TerminalShape &shape) const;
    [[nodiscard]] std::string lastLine() const;
    [[nodiscard]] std::string listState() const;

    const Console &m_console;
    std::string m_nothingFound;
    WatchList m_list;
    WatchHistory m_history;
    WatchStop m_stop;
    Mode m_mode = Mode::List;
    Listener m_detailed;             ///< whose details are shown
    bool m_isDetailedClosed = false; ///< it is not in the latest listing
    Clock::time_point m_drawn;       ///< when the screen was drawn last
    std::size_t m_scroll = 0;        ///< lines of the text above the first that is visible
    std::size_t m_page = 1;          ///< rows or lines that were visible last
    bool m_hasScanned = false;       ///< there is something to compare with
    std::string m_failure;           ///< empty after a scan that succeeded
};

} // namespace Tarnwick
