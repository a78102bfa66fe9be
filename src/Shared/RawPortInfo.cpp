// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfo.h"

#include "Models/HashCombine.h"
#include "Shared/RawPortInfoDecoder.h"
#include "Shared/RawPortInfoWriter.h"

namespace Tarnwick {

namespace {

void hashCombineAll(std::size_t &seed, const std::vector<std::string> &texts) noexcept
{
    hashCombine(seed, texts.size());
    for (const std::string &text : texts) {
        hashCombine(seed, text);
    }
}

} // namespace

std::string RawPortInfo::DecodingError::description() const
{
    std::string text;
    if (record) {
        text += "record " + std::to_string(*record);
    }
    if (!key.empty()) {
        text += text.empty() ? "" : ", ";
        text += "key \"" + key + '"';
    }
    return text.empty() ? reason : text + ": " + reason;
}

RawPortInfo::Decoded RawPortInfo::decode(std::string_view payload)
{
    return RawPortInfoDecoder::decode(payload);
}

std::string RawPortInfo::encode(std::span<const RawPortInfo> records)
{
    std::string payload = "[";
    JsonBuffer text; // of one record, so that the whole is never there twice
    JsonWriter writer(text);
    for (const RawPortInfo &record : records) {
        text.Clear();
        writer.Reset(text);
        writer.StartObject();
        writeMembers(writer, record);
        writer.EndObject();
        payload += payload.size() > 1 ? "," : "";
        payload.append(text.GetString(), text.GetSize());
    }
    return payload += ']';
}

} // namespace Tarnwick

std::size_t
std::hash<Tarnwick::RawPortInfo>::operator()(const Tarnwick::RawPortInfo &record) const noexcept
{
    std::size_t seed = 0;
    Tarnwick::hashCombine(seed, record.pid);
    Tarnwick::hashCombine(seed, record.port);
    Tarnwick::hashCombine(seed, record.processName);
    Tarnwick::hashCombine(seed, record.commandPath);
    Tarnwick::hashCombine(seed, record.cwd);
    Tarnwick::hashCombineAll(seed, record.arguments);
    Tarnwick::hashCombineAll(seed, record.originArguments);
    Tarnwick::hashCombine(seed, record.processStartedAt.time_since_epoch().count());
    Tarnwick::hashCombine(seed, record.memoryBytes);
    return seed;
}
