// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/EntryLine.h"

#include <QByteArrayView>
#include <QChar>
#include <QString>

#include <algorithm>

namespace Tarnwick {

namespace {

constexpr QByteArrayView blanks = " \t\n\f\r"; ///< g_ascii_isspace()

bool isBlank(char character)
{
    return blanks.contains(character);
}

/// g_ascii_iscntrl()
bool isControl(char character)
{
    return (character >= 0 && character < ' ') || character == '\x7f';
}

QByteArray withoutBlanksBefore(const QByteArray &text)
{
    const auto *const first = std::find_if_not(text.begin(), text.end(), &isBlank);
    return text.mid(first - text.begin());
}

QByteArray withoutBlanksAfter(QByteArray text)
{
    while (!text.isEmpty() && isBlank(text.back())) {
        text.chop(1);
    }
    return text;
}

bool isGroupName(const QByteArray &name)
{
    return !name.isEmpty() && std::none_of(name.begin(), name.end(), [](char character) {
        return character == '[' || character == ']' || isControl(character);
    });
}

bool isLocale(const QByteArray &name)
{
    constexpr QByteArrayView others = "-_.@";
    const QString characters = QString::fromUtf8(name);
    return std::all_of(characters.begin(), characters.end(), [others](QChar character) {
        return character.isLetterOrNumber() || character.isSurrogate() ||
               (character.unicode() < 0x80 && others.contains(character.toLatin1()));
    });
}

/// "Name", or "Name[locale]".
bool isKey(const QByteArray &key)
{
    const qsizetype bracket = key.indexOf('[');
    const QByteArray name = key.left(bracket < 0 ? key.size() : bracket);
    if (name.isEmpty() || name.endsWith(' ') || name.contains(']')) {
        return false;
    }
    return bracket < 0 ||
           (key.endsWith(']') && isLocale(key.mid(bracket + 1, key.size() - bracket - 2)));
}

} // namespace

EntryLine EntryLine::parse(const QByteArray &line)
{
    const bool hasReturn = line.endsWith('\r');
    const QByteArray text = withoutBlanksBefore(hasReturn ? line.chopped(1) : line);
    if (text.isEmpty() || text.startsWith('#')) {
        return {};
    }
    const qsizetype bracket = text.indexOf(']');
    if (text.startsWith('[') && bracket > 0 &&
        text.mid(bracket + 1).trimmed().isEmpty()) { // "[a]", not "[a]=b"
        const QByteArray name = text.mid(1, bracket - 1);
        return {.kind = isGroupName(name) ? Kind::Group : Kind::Invalid, .name = name};
    }
    const qsizetype equals = text.indexOf('=');
    const QByteArray key = withoutBlanksAfter(text.left(std::max<qsizetype>(equals, 0)));
    if (!isKey(key)) {
        return {.kind = Kind::Invalid};
    }
    return {.kind = Kind::Key, .name = key, .value = withoutBlanksBefore(text.mid(equals + 1))};
}

} // namespace Tarnwick
