// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonEscapes.h"

#include "CommandLine/TerminalText.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

void appendUnicodeEscape(std::string &json, char32_t unit)
{
    constexpr std::string_view digits = "0123456789abcdef";
    json += "\\u";
    for (const unsigned shift : std::array{12U, 8U, 4U, 0U}) {
        json += digits[(unit >> shift) & 0xFU];
    }
}

/// Above U+FFFF a JSON escape is a pair of UTF-16 surrogates (RFC 8259, section 7).
void appendEscaped(std::string &json, char32_t codePoint)
{
    if (codePoint < 0x10000) {
        appendUnicodeEscape(json, codePoint);
        return;
    }
    const char32_t offset = codePoint - 0x10000;
    appendUnicodeEscape(json, 0xD800 + (offset >> 10U));
    appendUnicodeEscape(json, 0xDC00 + (offset & 0x3FFU));
}

} // namespace

/// The writer has escaped the control characters below U+0020; what else does not print stands
/// within strings only, where an escape means the same.
void JsonEscapes::append(std::string &escaped, std::string_view json)
{
    const auto needsNoLook = [](char character) { return character < '\x7f' && character > '\0'; };
    if (std::all_of(json.begin(), json.end(), needsNoLook)) {
        escaped += json;
        return;
    }
    while (!json.empty()) {
        std::string_view rest = json;
        const char32_t codePoint = Utf8::takeCodePoint(rest);
        const std::string_view character = json.substr(0, json.size() - rest.size());
        if (codePoint < 0x7F || TerminalText::printable(character) == character) {
            escaped += character;
        } else {
            appendEscaped(escaped, codePoint);
        }
        json = rest;
    }
}

} // namespace Tarnwick
