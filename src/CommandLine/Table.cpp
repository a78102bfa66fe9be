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
    const std::vector<std::size_t> columnWidths = widths(width != anyWidth);
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

std::vector<std::size_t> Table::widths(bool isBounded) const
{
    std::vector<std::size_t> result;
    result.reserve(m_columns.size());
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        std::size_t widest = m_columns[index].title.size();
        for (const Row &row : m_rows) {
            widest = std::max(widest, TerminalText::width(row.cells[index].text));
        }
        result.push_back(isBounded ? std::min(widest, m_columns[index].most) : widest);
    }
    return result;
}

std::string Table::line(const Row &row, const std::vector<std::size_t> &widths, const Style &style,
                        std::size_t width) const
{
    std::string result;
    std::size_t used = 0;
    std::size_t blanks = 0;
    for (std::size_t index = 0; index < row.cells.size(); ++index) {
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
