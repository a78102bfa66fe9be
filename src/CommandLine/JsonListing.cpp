// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonListing.h"

#include "CommandLine/TerminalText.h"
#include "Shared/RawPortInfoWriter.h"
#include "Shared/Utf8.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>

namespace Tarnwick {

namespace {

using Buffer = rapidjson::StringBuffer;
using Writer = rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                                 rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>;

void writeMember(Writer &writer, std::string_view key, std::string_view text)
{
    writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeObject(Buffer &buffer, const Listener &listener, std::string_view change)
{
    Writer writer(buffer);
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
std::string withInvisibleEscaped(std::string_view json)
{
    const auto needsNoLook = [](char character) { return character < '\x7f' && character > '\0'; };
    if (std::all_of(json.begin(), json.end(), needsNoLook)) {
        return std::string(json);
    }
    std::string escaped;
    escaped.reserve(json.size());
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
    return escaped;
}

std::string textOf(const Buffer &buffer)
{
    return withInvisibleEscaped({buffer.GetString(), buffer.GetSize()});
}

} // namespace

std::string JsonListing::array(std::span<const Listener> listeners)
{
    if (listeners.empty()) {
        return "[]\n";
    }
    Buffer buffer;
    std::string_view separator = "[\n";
    const auto put = [&buffer](std::string_view text) {
        std::copy(text.begin(), text.end(), buffer.Push(text.size()));
    };
    for (const Listener &listener : listeners) {
        put(separator);
        writeObject(buffer, listener, {});
        separator = ",\n";
    }
    put("\n]\n");
    return textOf(buffer);
}

std::string JsonListing::changeLine(std::string_view change, const Listener &listener)
{
    Buffer buffer;
    writeObject(buffer, listener, change);
    return textOf(buffer) + '\n';
}

} // namespace Tarnwick
