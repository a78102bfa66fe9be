// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonListing.h"

#include "CommandLine/JsonEscapes.h"
#include "Shared/RawPortInfoWriter.h"

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
        JsonEscapes::append(json, {buffer.GetString(), buffer.GetSize()});
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
    JsonEscapes::append(line, {buffer.GetString(), buffer.GetSize()});
    return line += '\n';
}

} // namespace Tarnwick
