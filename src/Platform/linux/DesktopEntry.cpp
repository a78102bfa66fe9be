// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/DesktopEntry.h"

#include "Shared/Utf8.h"

#include <QChar>
#include <QList>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

constexpr QByteArrayView header = "[Desktop Entry]";

/// What stands for a character that cannot stand for itself in a value.
struct Escape
{
    char character;
    char letter;
};
constexpr std::array escapes{Escape{'\\', '\\'}, Escape{'\n', 'n'}, Escape{'\t', 't'},
                             Escape{'\r', 'r'}};

// Blanks before what a line says mean nothing to the parsers of desktops.

bool opensGroup(const QByteArray &line)
{
    return line.trimmed().startsWith('[');
}

bool saysNothing(const QByteArray &line)
{
    const QByteArray said = line.trimmed();
    return said.isEmpty() || said.startsWith('#');
}

QByteArray keyOf(const QByteArray &line)
{
    return saysNothing(line) ? QByteArray() : line.left(line.indexOf('=')).trimmed();
}

bool isLine(const QByteArray &line)
{
    const QByteArray said = line.trimmed();
    return saysNothing(line) || (opensGroup(line) ? said.endsWith(']') : said.indexOf('=') > 0);
}

bool isText(const QByteArray &text)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    static_cast<void>(QString(decoder(text)));
    return !decoder.hasError();
}

QByteArray escaped(const QByteArray &value)
{
    QByteArray result;
    for (const char character : value) {
        const auto *const escape =
            std::find_if(escapes.begin(), escapes.end(),
                         [character](const Escape &one) { return one.character == character; });
        if (escape != escapes.end()) {
            result.append('\\').append(escape->letter);
        } else if (character == ' ' && result.isEmpty()) {
            result.append("\\s");
        } else {
            result.append(character);
        }
    }
    return result;
}

char unescaped(char letter)
{
    if (letter == 's') {
        return ' ';
    }
    const auto *const escape =
        std::find_if(escapes.begin(), escapes.end(),
                     [letter](const Escape &one) { return one.letter == letter; });
    return escape == escapes.end() ? letter : escape->character;
}

QByteArray unescaped(const QByteArray &value)
{
    QByteArray result;
    for (qsizetype at = 0; at < value.size(); ++at) {
        const bool isEscape = value[at] == '\\' && at + 1 < value.size();
        result.append(isEscape ? unescaped(value[++at]) : value[at]);
    }
    return result;
}

} // namespace

DesktopEntry::DesktopEntry()
    : m_lines{header.toByteArray()}
{
}

DesktopEntry::DesktopEntry(Lines lines)
    : m_lines(std::move(lines))
{
    const auto first = std::find_if(m_lines.begin(), m_lines.end(), &opensGroup);
    m_header = static_cast<std::size_t>(first - m_lines.begin());
}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray &text)
{
    const QList<QByteArray> split = text.split('\n');
    Lines lines(split.begin(), split.end());
    if (lines.back().isEmpty()) {
        lines.pop_back();
    }
    const auto first = std::find_if_not(lines.begin(), lines.end(), &saysNothing);
    const bool begins = first != lines.end() && first->trimmed() == header;
    if (!begins || text.contains('\0') || !std::all_of(lines.begin(), lines.end(), &isLine)) {
        return std::nullopt;
    }
    return DesktopEntry(std::move(lines));
}

std::size_t DesktopEntry::endOfGroup() const
{
    const auto begin = m_lines.begin() + static_cast<std::ptrdiff_t>(m_header) + 1;
    return static_cast<std::size_t>(std::find_if(begin, m_lines.end(), &opensGroup) -
                                    m_lines.begin());
}

std::vector<std::size_t> DesktopEntry::linesOf(QByteArrayView key) const
{
    std::vector<std::size_t> places;
    bool isInGroup = false;
    for (std::size_t at = 0; at < m_lines.size(); ++at) {
        if (opensGroup(m_lines[at])) {
            isInGroup = m_lines[at].trimmed() == header;
        } else if (isInGroup && keyOf(m_lines[at]) == key) {
            places.push_back(at);
        }
    }
    return places;
}

void DesktopEntry::erase(std::span<const std::size_t> places)
{
    Lines kept;
    kept.reserve(m_lines.size());
    for (std::size_t at = 0; at < m_lines.size(); ++at) {
        if (!places.empty() && places.front() == at) {
            places = places.subspan(1);
        } else {
            kept.push_back(std::move(m_lines[at]));
        }
    }
    m_lines = std::move(kept);
}

std::optional<QByteArray> DesktopEntry::value(QByteArrayView key) const
{
    const std::vector<std::size_t> places = linesOf(key);
    if (places.empty()) {
        return std::nullopt;
    }
    const QByteArray &line = m_lines[places.back()];
    const QByteArray said = line.mid(line.indexOf('=') + 1).trimmed();
    return isText(said) ? std::optional(unescaped(said)) : std::nullopt;
}

bool DesktopEntry::is(QByteArrayView key, bool wanted) const
{
    // The numbers are those of the oldest version of the format, which parsers still take.
    const std::optional<QByteArray> said = value(key);
    return said && (wanted ? said == "true" || said == "1" : said == "false" || said == "0");
}

bool DesktopEntry::hasMoreThan(const std::vector<QByteArrayView> &keys) const
{
    const auto isExtra = [&keys](const QByteArray &line) {
        return line.trimmed() != header && !line.trimmed().isEmpty() &&
               std::find(keys.begin(), keys.end(), keyOf(line)) == keys.end();
    };
    return std::any_of(m_lines.begin(), m_lines.end(), isExtra);
}

bool DesktopEntry::isReadBySystemd() const
{
    return std::all_of(m_lines.begin(), m_lines.end(), [](const QByteArray &line) {
        return line.trimmed().startsWith('#') || line.trimmed().startsWith(';') ||
               isSystemdText(line);
    });
}

bool DesktopEntry::isSystemdText(const QByteArray &text)
{
    std::string_view rest(text.constData(), static_cast<std::size_t>(text.size()));
    if (!Utf8::isValid(rest)) {
        return false;
    }
    while (!rest.empty()) {
        if (QChar::isNonCharacter(Utf8::takeCodePoint(rest))) {
            return false;
        }
    }
    return true;
}

void DesktopEntry::set(QByteArrayView key, const QByteArray &value)
{
    const QByteArray line = key.toByteArray() + '=' + escaped(value);
    const std::vector<std::size_t> places = linesOf(key);
    if (!places.empty()) {
        m_lines[places.front()] = line;
        erase(std::span(places).subspan(1));
        return;
    }
    // Blank lines and comments at the end belong to the group that follows.
    const auto begin = m_lines.begin() + static_cast<std::ptrdiff_t>(m_header) + 1;
    auto last = m_lines.begin() + static_cast<std::ptrdiff_t>(endOfGroup());
    while (last != begin && saysNothing(*(last - 1))) {
        --last;
    }
    m_lines.insert(last, line);
}

void DesktopEntry::remove(QByteArrayView key)
{
    erase(linesOf(key));
}

QByteArray DesktopEntry::text() const
{
    QByteArray result;
    for (const QByteArray &line : m_lines) {
        result.append(line).append('\n');
    }
    return result;
}

QByteArray DesktopEntry::quotedArgument(const QByteArray &argument)
{
    constexpr QByteArrayView reserved = "\"`$\\";
    QByteArray result("\"");
    for (const char character : argument) {
        if (reserved.contains(character)) {
            result.append('\\');
        }
        result.append(character);
        if (character == '%') {
            result.append('%'); // one alone begins a field code
        }
    }
    return result.append('"');
}

QByteArray DesktopEntry::program(const QByteArray &command)
{
    constexpr QByteArrayView quotes = "\"'";
    constexpr QByteArrayView blanks = " \t\n";
    const QByteArray text = command.trimmed();
    QByteArray word;
    constexpr char none = '\0';
    char quote = none;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (quote != none && quote == character) {
            quote = none;
        } else if (quote == none && quotes.contains(character)) {
            quote = character;
        } else if (quote == none && blanks.contains(character)) {
            break;
        } else if (character == '\\' && quote != '\'' && at + 1 < text.size()) {
            word.append(text[++at]);
        } else {
            word.append(character);
        }
    }
    return quote == none ? word : QByteArray();
}

} // namespace Tarnwick
