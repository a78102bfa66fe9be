// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonListing.h"

#include "CommandLine/TerminalText.h"
#include "Shared/RawPortInfoWriter.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

void writeMember(JsonWriter &writer, std::string_view key, std::string_view text)
{
    writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeObject(JsonWriter &writer, const Listener &listener, std::string_view change)
{
    writer.StartObject();
    if (!change.empty()) {
        writeMember(writer, "change", change);
    }
    writeMembers(writer, listener.record);
    writeMember(writer, "tier", rawValue(listener.entry.tier));
    writeMember(writer, "description", listener.entry.description);
    writer.EndObject();
}

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

/// The writer has escaped the control characters below U+0020; what else does not print stands
/// within strings only, where an escape means the same.
void appendWithInvisibleEscaped(std::string &escaped, std::string_view json)
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

} // namespace

std::error_code JsonListing::write(std::span<const Listener> listeners, TextOutput &output)
{
    constexpr std::size_t stepSize = 64UL * 1024;
    if (listeners.empty()) {
        return output.write("[]\n");
    }
    std::string json;
    std::string_view separator = "[\n";
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    for (const Listener &listener : listeners) {
        buffer.Clear();
        writer.Reset(buffer);
        writeObject(writer, listener, {});
        json += separator;
        appendWithInvisibleEscaped(json, {buffer.GetString(), buffer.GetSize()});
        if (json.size() >= stepSize) {
            if (const std::error_code error = output.write(json)) {
                return error;
            }
            json.clear();
        }
        separator = ",\n";
    }
    json += "\n]\n";
    return output.write(json);
}

std::string JsonListing::changeLine(std::string_view change, const Listener &listener)
{
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    writeObject(writer, listener, change);
    std::string line;
    appendWithInvisibleEscaped(line, {buffer.GetString(), buffer.GetSize()});
    return line += '\n';
}

} // namespace Tarnwick
