// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonListing.h"

#include "Shared/Iso8601.h"

#include <cstddef>

namespace Tarnwick {

namespace {

JsonOwner ownerOf(const Listener &listener)
{
    return {listener.record, listener.entry.tier, listener.entry.description, listener.ancestors,
            listener.project ? &*listener.project : nullptr};
}

} // namespace

void JsonListing::add(JsonOwner &owner, std::int64_t port, const ListenerDetails &details,
                      std::span<const Shadow> shadows)
{
    constexpr std::size_t stepSize = 64UL * 1024;
    if (m_error) {
        return;
    }
    m_json += m_isEmpty ? "[\n" : ",\n";
    m_isEmpty = false;
    owner.append(m_json, port, details, shadows);
    if (m_json.size() >= stepSize) {
        m_error = m_output.write(m_json);
        m_json.clear();
    }
}

std::error_code JsonListing::finish()
{
    if (m_error) {
        return m_error;
    }
    m_json += m_isEmpty ? "[]\n" : "\n]\n";
    return m_output.write(m_json);
}

std::error_code JsonListing::write(std::span<const Listener> listeners, TextOutput &output)
{
    JsonListing listing(output);
    for (const Listener &listener : listeners) {
        JsonOwner owner = ownerOf(listener);
        listing.add(owner, listener.record.port, listener.details, listener.shadows);
        if (listing.hasFailed()) {
            break;
        }
    }
    return listing.finish();
}

std::string JsonListing::changeLine(Timestamp time, std::string_view change,
                                    const Listener &listener)
{
    std::string object;
    ownerOf(listener).append(object, listener.record.port, listener.details, listener.shadows);
    std::string line = R"({"time":")";
    line.append(Iso8601::formatMilliseconds(time)).append(R"(","change":")");
    return line.append(change).append("\",").append(object, 1).append("\n");
}

} // namespace Tarnwick
