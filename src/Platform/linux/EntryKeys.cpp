// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/EntryKeys.h"

#include "Platform/linux/EntryLine.h"
#include "Shared/Utf8.h"

#include <QChar>

#include <algorithm>
#include <array>
#include <string_view>

namespace Tarnwick {

namespace {

constexpr char separator = ';';
constexpr QByteArrayView systemdBlanks = " \t\n\r";

/// What systemd takes for a truth value, in any case of its letters.
constexpr std::array<QByteArrayView, 6> systemdYes{"1", "yes", "y", "true", "t", "on"};
constexpr std::array<QByteArrayView, 6> systemdNo{"0", "no", "n", "false", "f", "off"};

/// The keys of one value that systemd's generator reads.
constexpr std::array<QByteArrayView, 2> systemdTruths{"Hidden", "X-systemd-skip"};
constexpr std::array<QByteArrayView, 8> systemdStrings{"Type",
                                                       "Name",
                                                       "Exec",
                                                       "TryExec",
                                                       "Path",
                                                       "AutostartCondition",
                                                       "X-KDE-autostart-condition",
                                                       "X-GNOME-Autostart-Phase"};

std::string_view view(const QByteArray &text)
{
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

template<class Words>
bool isOneOf(const Words &words, QByteArrayView word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Without the blanks that systemd ignores: a form feed is none of them.
QByteArray trimmedBefore(const QByteArray &text)
{
    qsizetype at = 0;
    while (at < text.size() && systemdBlanks.contains(text[at])) {
        ++at;
    }
    return text.mid(at);
}

QByteArray trimmed(const QByteArray &text)
{
    QByteArray result = trimmedBefore(text);
    while (!result.isEmpty() && systemdBlanks.contains(result.back())) {
        result.chop(1);
    }
    return result;
}

/// What the letter behind a backslash stands for; nothing when it makes no escape sequence.
std::optional<char> unescaped(char letter)
{
    switch (letter) {
    case 's':
        return ' ';
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case 'r':
        return '\r';
    case '\\':
        return '\\';
    default:
        return std::nullopt;
    }
}

/// The words of a value; the last one has no separator behind it.
struct Unescaped
{
    QList<QByteArray> words{};
    QByteArray rest{};
    bool isValid = true; ///< whether every escape sequence is known
};

enum class Form : std::uint8_t { String, List };

/// A semicolon is escaped in lists only, but systemd takes that for a known sequence everywhere.
Unescaped unescape(const QByteArray &value, Form form, EntryReader reader)
{
    const bool isList = form == Form::List;
    const bool isSeparatorEscaped = isList || reader == EntryReader::Systemd;
    Unescaped result;
    for (qsizetype at = 0; at < value.size(); ++at) {
        const char character = value[at];
        if (isList && character == separator) {
            result.words.push_back(std::exchange(result.rest, {}));
        } else if (character != '\\') {
            result.rest.append(character);
        } else if (++at == value.size()) {
            result.isValid = false;
        } else if (const std::optional<char> plain = unescaped(value[at])) {
            result.rest.append(*plain);
        } else if (isSeparatorEscaped && value[at] == separator) {
            result.rest.append(separator);
        } else {
            result.isValid = false;
        }
    }
    return result;
}

/// The lines of a text to systemd, which also ends one at a carriage return and at a NUL, without
/// its comments; those that end in a backslash joined with the next one.
QList<QByteArray> systemdLines(QByteArray text)
{
    constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";
    if (text.startsWith(byteOrderMark)) {
        text.remove(0, byteOrderMark.size());
    }
    text.replace('\r', '\n').replace('\0', '\n');
    QList<QByteArray> lines;
    QByteArray joined;
    for (const QByteArray &line : text.split('\n')) {
        const QByteArray part = trimmedBefore(line);
        if (part.startsWith('#') || part.startsWith(';')) {
            continue;
        }
        joined.append(part);
        bool isEscape = false; // what is joined already ends in a blank
        for (const char character : part) {
            isEscape = !isEscape && character == '\\';
        }
        if (isEscape) {
            joined.back() = ' ';
        } else {
            lines.push_back(trimmed(std::exchange(joined, {})));
        }
    }
    lines.push_back(trimmed(joined));
    lines.removeAll(QByteArray());
    return lines;
}

bool isSystemdGroup(const QByteArray &name)
{
    constexpr QByteArrayView unsafe = "\"'\\\x7f";
    return std::none_of(name.begin(), name.end(), [unsafe](char character) {
        return (character >= 0 && character < ' ') || unsafe.contains(character);
    });
}

} // namespace

EntryKeys::EntryKeys(EntryReader reader)
    : m_reader(reader)
{
}

std::optional<EntryKeys> EntryKeys::read(const QByteArray &text, EntryReader reader)
{
    EntryKeys keys(reader);
    const bool isTaken = reader == EntryReader::Systemd
                             ? keys.readBySystemd(text) && keys.areTakenBySystemd()
                             : keys.readByGLib(text);
    return isTaken ? std::optional(std::move(keys)) : std::nullopt;
}

bool EntryKeys::readByGLib(const QByteArray &text)
{
    bool hasGroup = false;
    bool isInGroup = false;
    for (const QByteArray &whole : text.split('\n')) {
        const EntryLine line = EntryLine::parse(whole.constData()); // up to a NUL
        if (line.kind == EntryLine::Kind::Nothing) {
            continue;
        }
        if (line.kind == EntryLine::Kind::Invalid || (!hasGroup && !line.isHeader())) {
            return false;
        }
        hasGroup = true;
        if (line.kind == EntryLine::Kind::Group) {
            isInGroup = line.isHeader();
        } else if (isInGroup && line.name == "Encoding" && line.value.toUpper() != "UTF-8") {
            return false;
        } else if (isInGroup) {
            m_values.emplace_back(line.name, line.value);
        }
    }
    return hasGroup;
}

bool EntryKeys::readBySystemd(const QByteArray &text)
{
    bool isInGroup = false;
    for (const QByteArray &line : systemdLines(text)) {
        if (!isSystemdText(line)) {
            return false;
        }
        if (line.startsWith('[')) {
            const QByteArray name = line.mid(1, line.size() - 2);
            if (!line.endsWith(']') || !isSystemdGroup(name)) {
                return false;
            }
            isInGroup = name == EntryLine::mainGroup;
        } else if (const qsizetype equals = line.indexOf('='); isInGroup && equals > 0) {
            m_values.emplace_back(trimmed(line.left(equals)), trimmed(line.mid(equals + 1)));
        }
    }
    return true;
}

bool EntryKeys::areTakenBySystemd() const
{
    const auto isTruth = [](const auto &one) {
        const QByteArray value = one.second.toLower();
        return !isOneOf(systemdTruths, one.first) || isOneOf(systemdYes, value) ||
               isOneOf(systemdNo, value);
    };
    const auto isString = [this](QByteArrayView key) {
        const QByteArray *const value = first(key);
        return value == nullptr || unescape(*value, Form::String, m_reader).isValid;
    };
    return std::all_of(m_values.begin(), m_values.end(), isTruth) &&
           std::all_of(systemdStrings.begin(), systemdStrings.end(), isString);
}

const QByteArray *EntryKeys::first(QByteArrayView key) const
{
    const auto found = std::find_if(m_values.begin(), m_values.end(),
                                    [key](const auto &one) { return one.first == key; });
    return found == m_values.end() ? nullptr : &found->second;
}

const QByteArray *EntryKeys::last(QByteArrayView key) const
{
    const auto found = std::find_if(m_values.rbegin(), m_values.rend(),
                                    [key](const auto &one) { return one.first == key; });
    return found == m_values.rend() ? nullptr : &found->second;
}

bool EntryKeys::contains(QByteArrayView key) const
{
    return first(key) != nullptr;
}

std::optional<QByteArray> EntryKeys::string(QByteArrayView key) const
{
    const bool isSystemd = m_reader == EntryReader::Systemd;
    const QByteArray *const value = isSystemd ? first(key) : last(key);
    if (value == nullptr || !Utf8::isValid(view(*value))) {
        return std::nullopt;
    }
    const Unescaped text = unescape(*value, Form::String, m_reader);
    return text.isValid ? std::optional(text.rest) : std::nullopt;
}

std::optional<QList<QByteArray>> EntryKeys::list(QByteArrayView key) const
{
    const bool isSystemd = m_reader == EntryReader::Systemd;
    std::optional<QList<QByteArray>> words;
    for (const auto &[name, value] : m_values) {
        if (name != key || (isSystemd && words)) {
            continue;
        }
        Unescaped all = unescape(value, Form::List, m_reader);
        all.words.push_back(all.rest);
        all.words.removeAll(QByteArray());
        const bool isTaken = all.isValid && Utf8::isValid(view(value));
        words = isTaken ? std::optional(all.words) : std::nullopt;
    }
    // The generator separates them by colons, which no desktop has in its name.
    return isSystemd && words && words->isEmpty() ? std::nullopt : words;
}

bool EntryKeys::isTrue(QByteArrayView key) const
{
    const QByteArray *const value = last(key);
    if (value == nullptr) {
        return false;
    }
    if (m_reader == EntryReader::Systemd) {
        return isOneOf(systemdYes, value->toLower());
    }
    // The number is that of the oldest version of the format.
    const QByteArray said = value->trimmed();
    return said == "true" || said == "1";
}

bool EntryKeys::isSystemdText(const QByteArray &text)
{
    std::string_view rest = view(text);
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

} // namespace Tarnwick
