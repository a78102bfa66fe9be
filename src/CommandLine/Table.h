// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Style.h"

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Text in aligned columns under a line of titles, one line for each row.
class Table
{
public:
    enum class Alignment { Left, Right };

    struct Column
    {
        std::string_view title;
        Alignment alignment = Alignment::Left;
        /// What the column is cut to when the table has to fit a terminal.
        std::size_t most = std::numeric_limits<std::size_t>::max();
        /// Where the last column has less room than it needs, the one with the lowest rank above 0
        /// is left out, then the next.
        unsigned rank = 0;
    };

    struct Cell
    {
        std::string text;  ///< printable (TerminalText)
        std::string style; ///< a control sequence, or empty
    };

    /// A style for the whole row and a cell for each column.
    struct Row
    {
        std::string style{};
        std::vector<Cell> cells{};
    };

    /// @p minLast is what the last column needs to have, or its widest text where that is less,
    /// while there are columns that may be left out.
    explicit Table(std::vector<Column> columns, std::size_t minLast = 0)
        : m_columns(std::move(columns))
        , m_minLast(minLast)
    {
    }

    void add(Row row) { m_rows.push_back(std::move(row)); }

    /// The titles and the rows, without line feeds and without blanks at their ends, none wider
    /// than
    /// @p width; with no width, nothing is cut.
    [[nodiscard]] std::vector<std::string> lines(const Style &style, std::size_t width) const;

    static constexpr std::size_t anyWidth = std::numeric_limits<std::size_t>::max();

private:
    /// What each column takes; 0 for one that is left out.
    [[nodiscard]] std::vector<std::size_t> widths(std::size_t width) const;
    [[nodiscard]] bool fits(const std::vector<std::size_t> &widths, std::size_t width) const;
    [[nodiscard]] std::size_t mostExpendable(const std::vector<std::size_t> &widths) const;
    [[nodiscard]] std::string line(const Row &row, const std::vector<std::size_t> &widths,
                                   const Style &style, std::size_t width) const;

    std::vector<Column> m_columns;
    std::size_t m_minLast;
    std::vector<Row> m_rows;
};

} // namespace Tarnwick
