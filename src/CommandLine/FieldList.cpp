// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/FieldList.h"

#include "CommandLine/Table.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::size_t indent = 2;
constexpr std::size_t nameWidth = 11;
constexpr std::size_t maxLines = 4;
/// A terminal that is narrower than the names has its lines cut.
constexpr std::size_t minTextWidth = 10;

/// The lines that @p text takes in @p width columns, at most maxLines of them.
std::vector<std::string> wrapped(std::string_view text, std::size_t width)
{
    std::vector<std::string> lines;
    while (TerminalText::width(text) > width && lines.size() + 1 < maxLines) {
        std::size_t end = 0;
        for (std::size_t blank = text.find(' ');
             blank != std::string_view::npos && TerminalText::width(text.substr(0, blank)) <= width;
             blank = text.find(' ', blank + 1)) {
            end = blank;
        }
        if (end == 0) {
            break; // one word that is too long
        }
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    lines.push_back(TerminalText::cut(text, width));
    return lines;
}

} // namespace

void FieldList::add(std::string_view name, std::string text, std::string style)
{
    if (!text.empty()) {
        m_fields.push_back({std::string(name), std::move(text), std::move(style)});
    }
}

std::vector<std::string> FieldList::lines(const Style &style, std::size_t width) const
{
    const std::size_t textColumn = indent + nameWidth;
    const std::size_t textWidth = width == Table::anyWidth
                                      ? width
                                      : std::max(minTextWidth, width - std::min(width, textColumn));
    std::vector<std::string> result;
    for (const Field &field : m_fields) {
        std::string name = field.name;
        for (const std::string &text : wrapped(field.text, textWidth)) {
            std::string line(indent, ' ');
            line.append(name.empty() ? "" : style.bold()).append(name);
            line.append(name.empty() ? "" : style.reset());
            line.append(nameWidth - std::min(nameWidth, name.size()), ' ');
            line.append(field.style).append(text);
            line.append(field.style.empty() ? "" : style.reset());
            result.push_back(std::move(line));
            name.clear();
        }
    }
    return result;
}

} // namespace Tarnwick
