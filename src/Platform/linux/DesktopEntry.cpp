// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/DesktopEntry.h"

#include "Platform/linux/EntryLine.h"

#include <algorithm>
#include <array>
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

bool opensGroup(const QByteArray &line)
{
    return EntryLine::parse(line).kind == EntryLine::Kind::Group;
}

bool isHeader(const QByteArray &line)
{
    return EntryLine::parse(line).isHeader();
}

bool saysNothing(const QByteArray &line)
{
    return EntryLine::parse(line).kind == EntryLine::Kind::Nothing;
}

/// The key that the line gives a value; null where it gives none.
QByteArray keyOf(const QByteArray &line)
{
    const EntryLine parsed = EntryLine::parse(line);
    return parsed.kind == EntryLine::Kind::Key ? parsed.name : QByteArray();
}

/// Whether systemd joins the line with the next one: it ends in a backslash that is not escaped.
bool isContinued(const QByteArray &line)
{
    const auto isNoBackslash = [](char character) { return character != '\\'; };
    const QByteArray text = line.endsWith('\r') ? line.chopped(1) : line;
    return (std::find_if(text.rbegin(), text.rend(), isNoBackslash) - text.rbegin()) % 2 != 0;
}

/// Whether all desktops take the line for the same, whatever its encoding and a group's name.
bool isTakenAlike(const EntryLine &parsed, const QByteArray &line)
{
    constexpr QByteArrayView uncommonBlanks = "\v\f"; // to some of them only
    if (line.startsWith('#')) {
        return true;
    }
    if (parsed.kind == EntryLine::Kind::Key && parsed.name == "Encoding") {
        return parsed.value == "UTF-8";
    }
    const QByteArray text = line.trimmed();
    const qsizetype begin = line.indexOf(text);
    const auto isUncommon = [uncommonBlanks](char one) { return uncommonBlanks.contains(one); };
    return parsed.kind != EntryLine::Kind::Invalid && !isContinued(line) &&
           std::none_of(line.begin(), line.begin() + begin, isUncommon) &&
           std::none_of(line.begin() + begin + text.size(), line.end(), isUncommon);
}

/// The line with escape sequences for carriage returns in it, which systemd ends a line at.
QByteArray withoutReturns(QByteArray line)
{
    const bool hasEnd = line.endsWith('\r');
    line.chop(hasEnd ? 1 : 0);
    line.replace('\r', "\\r");
    return hasEnd ? line + '\r' : line;
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

} // namespace

DesktopEntry::DesktopEntry()
    : m_lines{header.toByteArray()}
{
}

DesktopEntry::DesktopEntry(Lines lines)
    : m_lines(std::move(lines))
{
    const auto first = std::find_if(m_lines.begin(), m_lines.end(), &isHeader);
    m_header = static_cast<std::size_t>(first - m_lines.begin());
}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray &text)
{
    constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";
    const QByteArray plain = text.mid(text.startsWith(byteOrderMark) ? byteOrderMark.size() : 0);
    const QList<QByteArray> split = plain.split('\n');
    Lines lines(split.begin(), split.end());
    if (lines.back().isEmpty()) {
        lines.pop_back();
    }
    // What stands before the first header is in no group, and what follows a line that is none,
    // though it begins like one, is not in the group before that.
    bool hasHeader = false;
    bool isInGroup = false;
    for (QByteArray &line : lines) {
        line = withoutReturns(line);
        const EntryLine parsed = EntryLine::parse(line);
        const bool isTaken = isTakenAlike(parsed, line);
        if (line.trimmed().startsWith('[')) {
            const bool isGroup = isTaken && parsed.kind == EntryLine::Kind::Group;
            hasHeader = hasHeader || (isGroup && parsed.isHeader());
            isInGroup = isGroup && hasHeader;
        }
        if (!isTaken || (!isInGroup && parsed.kind != EntryLine::Kind::Nothing)) {
            line.prepend('#');
        }
    }
    return hasHeader && !text.contains('\0') ? std::optional(DesktopEntry(std::move(lines)))
                                             : std::nullopt;
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
            isInGroup = isHeader(m_lines[at]);
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

bool DesktopEntry::hasMoreThan(const std::vector<QByteArrayView> &keys) const
{
    const auto isExtra = [&keys](const QByteArray &line) {
        return !isHeader(line) && !line.trimmed().isEmpty() &&
               std::find(keys.begin(), keys.end(), keyOf(line)) == keys.end();
    };
    return std::any_of(m_lines.begin(), m_lines.end(), isExtra);
}

void DesktopEntry::set(QByteArrayView key, const QByteArray &value)
{
    setEscaped(key, escaped(value));
}

void DesktopEntry::setList(QByteArrayView key, const QList<QByteArray> &words)
{
    QByteArray value;
    for (const QByteArray &word : words) {
        value.append(escaped(word).replace(';', "\\;")).append(';');
    }
    setEscaped(key, value);
}

void DesktopEntry::setEscaped(QByteArrayView key, const QByteArray &value)
{
    const QByteArray line = key.toByteArray() + '=' + value;
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
