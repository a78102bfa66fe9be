// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Table.h"

#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::size_t gap = 2;

} // namespace

std::vector<std::string> Table::lines(const Style &style, std::size_t width) const
{
    const std::vector<std::size_t> columnWidths = widths(width);
    Row titles{.style = std::string(style.bold()), .cells = {}};
    for (const Column &column : m_columns) {
        titles.cells.push_back({std::string(column.title), {}});
    }

    std::vector<std::string> result;
    result.reserve(m_rows.size() + 1);
    result.push_back(line(titles, columnWidths, style, width));
    for (const Row &row : m_rows) {
        result.push_back(line(row, columnWidths, style, width));
    }
    return result;
}

std::vector<std::size_t> Table::widths(std::size_t width) const
{
    std::vector<std::size_t> result;
    result.reserve(m_columns.size());
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        std::size_t widest = m_columns[index].title.size();
        for (const Row &row : m_rows) {
            widest = std::max(widest, TerminalText::width(row.cells[index].text));
        }
        result.push_back(width != anyWidth ? std::min(widest, m_columns[index].most) : widest);
    }
    while (width != anyWidth && !fits(result, width)) {
        const std::size_t expendable = mostExpendable(result);
        if (expendable == m_columns.size()) {
            break;
        }
        result[expendable] = 0;
    }
    return result;
}

bool Table::fits(const std::vector<std::size_t> &widths, std::size_t width) const
{
    std::size_t needed = std::min(widths.back(), m_minLast);
    for (std::size_t index = 0; index + 1 < widths.size(); ++index) {
        needed += widths[index] > 0 ? widths[index] + gap : 0;
    }
    return needed <= width;
}

/// The next column to leave out; the number of columns when there is none.
std::size_t Table::mostExpendable(const std::vector<std::size_t> &widths) const
{
    std::size_t found = m_columns.size();
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        const unsigned rank = m_columns[index].rank;
        if (rank > 0 && widths[index] > 0 &&
            (found == m_columns.size() || rank < m_columns[found].rank)) {
            found = index;
        }
    }
    return found;
}

std::string Table::line(const Row &row, const std::vector<std::size_t> &widths, const Style &style,
                        std::size_t width) const
{
    std::string result;
    std::size_t used = 0;
    std::size_t blanks = 0;
    for (std::size_t index = 0; index < row.cells.size(); ++index) {
        if (widths[index] == 0) {
            continue;
        }
        const Cell &cell = row.cells[index];
        // A text that ends before a wide character may be narrower than what it was cut to.
        const std::string text = TerminalText::cut(cell.text, widths[index]);
        const std::size_t padding = widths[index] - TerminalText::width(text);
        const bool isRight = m_columns[index].alignment == Alignment::Right;
        blanks += isRight ? padding : 0;
        if (!text.empty()) {
            if (width - used <= blanks) {
                break;
            }
            used += blanks;
            const std::string fitting = TerminalText::cut(text, width - used);
            used += TerminalText::width(fitting);
            const bool isStyled = !row.style.empty() || !cell.style.empty();
            result.append(blanks, ' ').append(row.style).append(cell.style).append(fitting);
            result.append(isStyled ? style.reset() : "");
            blanks = 0;
        }
        blanks += (isRight ? 0 : padding) + gap;
    }
    return result;
}

} // namespace Tarnwick
