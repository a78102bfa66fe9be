// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Precondition.h"
#include "Shared/CheckedAllocator.h"
#include "Shared/Iso8601.h"
#include "Shared/RawPortInfo.h"
#include "Shared/Utf8.h"

#include <rapidjson/encodings.h>
#include <rapidjson/rapidjson.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <span>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Writes JSON as the library does; throws std::bad_alloc where that has no memory.
using JsonBuffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, CheckedAllocator>;
using JsonWriter =
    rapidjson::Writer<JsonBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, CheckedAllocator>;

/// Writes the nine members of @p record, in the order of the wire format, into the object that is
/// open in @p writer. Checks the encoding of the strings itself: the writer's own check reads past
/// the end of a string that was cut within a character.
inline void writeMembers(JsonWriter &writer, const RawPortInfo &record)
{
    const auto string = [&writer](std::string_view text) {
        if (!Utf8::isValid(text)) {
            preconditionFailure("a string of a listing must be UTF-8");
        }
        writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    };
    const auto key = [&writer](std::string_view name) {
        writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    };
    const auto strings = [&writer, &string](std::span<const std::string> texts) {
        writer.StartArray();
        for (const std::string &text : texts) {
            string(text);
        }
        writer.EndArray();
    };

    key("pid");
    writer.Int64(record.pid);
    key("port");
    writer.Int64(record.port);
    key("processName");
    string(record.processName);
    key("commandPath");
    string(record.commandPath);
    key("cwd");
    string(record.cwd);
    key("arguments");
    strings(record.arguments);
    key("originArguments");
    strings(record.originArguments);
    key("processStartedAt");
    string(Iso8601::formatSeconds(record.processStartedAt));
    key("memoryBytes");
    writer.Uint64(record.memoryBytes);
}

} // namespace Tarnwick
