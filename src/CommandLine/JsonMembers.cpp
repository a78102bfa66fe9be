// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonMembers.h"

namespace Tarnwick {

void writeKey(JsonWriter &writer, std::string_view key)
{
    writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

void writeString(JsonWriter &writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeMember(JsonWriter &writer, std::string_view key, std::string_view text)
{
    writeKey(writer, key);
    writeString(writer, text);
}

void writeKnown(JsonWriter &writer, std::string_view key, std::string_view text)
{
    if (!text.empty()) {
        writeMember(writer, key, text);
    }
}

void writeMember(JsonWriter &writer, std::string_view key, std::int64_t number)
{
    writeKey(writer, key);
    writer.Int64(number);
}

void writeMembers(JsonWriter &writer, const Container &container)
{
    writeKnown(writer, "id", container.id);
    writeKnown(writer, "name", container.name);
    writeKnown(writer, "runtime", container.runtime);
}

void writeMembers(JsonWriter &writer, const Forwarding &forwarding)
{
    writeMember(writer, "forwarder", forwarding.forwarder);
    if (forwarding.pid != 0) {
        writeMember(writer, "pid", forwarding.pid);
    }
    if (forwarding.port != 0) {
        writeMember(writer, "port", forwarding.port);
    }
    writeKnown(writer, "processName", forwarding.processName);
    writeKnown(writer, "command", forwarding.command);
    if (forwarding.container != Container()) {
        writeKey(writer, "container");
        writer.StartObject();
        writeMembers(writer, forwarding.container);
        writer.EndObject();
    }
}

} // namespace Tarnwick
