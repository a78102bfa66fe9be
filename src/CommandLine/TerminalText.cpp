// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TerminalText.h"

#include "Shared/Utf8.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cwchar>
#include <utility>

namespace Tarnwick {

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr std::string_view ellipsis = "…";

using Range = std::pair<char32_t, char32_t>;

/// Code points that the C library takes for printing although nothing or something else than they
/// is seen: bidirectional controls, joiners, fillers and annotations (Unicode 15.0, the property
/// Default_Ignorable_Code_Point and the categories Cf, Zl and Zp). In order.
constexpr std::array<Range, 17> invisible{{
    {0x00AD, 0x00AD},
    {0x034F, 0x034F},
    {0x061C, 0x061C},
    {0x115F, 0x1160},
    {0x17B4, 0x17B5},
    {0x180B, 0x180F},
    {0x200B, 0x200F},
    {0x2028, 0x202E},
    {0x2060, 0x206F},
    {0x3164, 0x3164},
    {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0},
    {0xFFF0, 0xFFFB},
    {0x13430, 0x1343F},
    {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A},
    {0xE0000, 0xE0FFF},
}};

constexpr std::array<Range, 2> variationSelectors{{{0xFE00, 0xFE0F}, {0xE0100, 0xE01EF}}};

template<std::size_t size>
bool contains(const std::array<Range, size> &ranges, char32_t codePoint)
{
    return std::any_of(ranges.begin(), ranges.end(), [codePoint](const Range &range) {
        return codePoint >= range.first && codePoint <= range.second;
    });
}

bool isPlain(char character)
{
    return character >= ' ' && character <= '~';
}

bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char character) { return isPlain(character); });
}

/// The character types of C.UTF-8, loaded when the first text beyond ASCII needs them, for the
/// calling thread while an object of this class lives.
class Utf8CharacterTypes
{
public:
    Utf8CharacterTypes()
    {
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
        m_usable = utf8 != locale_t{};
        m_previous = uselocale(m_usable ? utf8 : locale_t{});
    }
    ~Utf8CharacterTypes() { uselocale(m_previous); }
    Utf8CharacterTypes(const Utf8CharacterTypes &) = delete;
    Utf8CharacterTypes &operator=(const Utf8CharacterTypes &) = delete;

    /// The columns of @p codePoint; -1 when it does not print. One for all where the locale is
    /// missing.
    [[nodiscard]] int width(char32_t codePoint) const
    {
        return m_usable ? wcwidth(static_cast<wchar_t>(codePoint)) : 1;
    }

private:
    locale_t m_previous{};
    bool m_usable = false;
};

std::size_t columnsOf(const Utf8CharacterTypes &types, char32_t codePoint)
{
    return static_cast<std::size_t>(std::max(types.width(codePoint), 0));
}

void appendPrintable(std::string &result, char32_t codePoint, const Utf8CharacterTypes &types)
{
    if (codePoint < 0x20 || codePoint == 0x7F) {
        result += '^';
        result += static_cast<char>(codePoint ^ 0x40U);
    } else if (contains(variationSelectors, codePoint)) {
        return;
    } else if ((codePoint >= 0x80 && codePoint < 0xA0) || contains(invisible, codePoint) ||
               types.width(codePoint) < 0) {
        Utf8::append(result, replacement);
    } else {
        Utf8::append(result, codePoint);
    }
}

/// The size in bytes of the longest beginning of @p text that takes at most @p columns.
std::size_t fittingSize(const Utf8CharacterTypes &types, std::string_view text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t size = 0;
    for (std::string_view rest = text; !rest.empty();) {
        used += columnsOf(types, Utf8::takeCodePoint(rest));
        if (used > columns) {
            break;
        }
        size = text.size() - rest.size();
    }
    return size;
}

} // namespace

std::string TerminalText::printable(std::string_view text)
{
    if (isPlain(text)) {
        return std::string(text);
    }
    const std::string valid = Utf8::sanitized(text);
    const Utf8CharacterTypes types;
    std::string result;
    result.reserve(valid.size());
    for (std::string_view rest = valid; !rest.empty();) {
        appendPrintable(result, Utf8::takeCodePoint(rest), types);
    }
    return result;
}

std::size_t TerminalText::width(std::string_view text)
{
    if (isPlain(text)) {
        return text.size();
    }
    const Utf8CharacterTypes types;
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += columnsOf(types, Utf8::takeCodePoint(text));
    }
    return columns;
}

std::string TerminalText::cut(std::string_view text, std::size_t columns)
{
    if (columns == 0) {
        return {};
    }
    if (width(text) <= columns) {
        return std::string(text);
    }
    const Utf8CharacterTypes types;
    return std::string(text.substr(0, fittingSize(types, text, columns - 1))).append(ellipsis);
}

std::vector<std::string> TerminalText::wrapped(std::string_view text, std::size_t columns)
{
    const Utf8CharacterTypes types;
    std::vector<std::string> lines;
    while (true) {
        std::size_t size = fittingSize(types, text, columns);
        if (size == text.size() || size == 0) {
            lines.emplace_back(text);
            return lines;
        }
        const std::size_t blank = text.rfind(' ', size);
        const bool isBreakable = blank != std::string_view::npos && blank > 0;
        size = isBreakable ? blank : size;
        lines.emplace_back(text.substr(0, size));
        text.remove_prefix(size + (isBreakable ? 1 : 0));
    }
}

} // namespace Tarnwick
