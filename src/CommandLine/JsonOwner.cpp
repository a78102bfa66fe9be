// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/JsonOwner.h"

#include "CommandLine/JsonEscapes.h"
#include "CommandLine/JsonMembers.h"
#include "Shared/RawPortInfoWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

namespace Tarnwick {

namespace {

/// The text of an object, without its braces, whose members @p write writes.
template<class Write>
std::string members(Write write)
{
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    write(writer);
    writer.EndObject();
    const std::string_view text(buffer.GetString(), buffer.GetSize());
    std::string escaped;
    JsonEscapes::append(escaped, text.substr(1, text.size() - 2));
    return escaped;
}

/// The members of a socket but its address.
void writeMembers(JsonWriter &writer, const ListenerDetails &details)
{
    writeKnown(writer, "interface", details.interface);
    writeMember(writer, "user", details.user);
    writeMember(writer, "userId", details.userId);
    if (!details.unit.empty()) {
        writeMember(writer, "unit", details.unit);
        writeMember(writer, "unitManager", details.isUserUnit ? "user" : "system");
    }
    writeKnown(writer, "socketUnit", details.socketUnit);
    if (details.container) {
        writeKey(writer, "container");
        writer.StartObject();
        writeMembers(writer, *details.container);
        writer.EndObject();
    }
    if (details.forwarding) {
        writeKey(writer, "forwarding");
        writer.StartObject();
        writeMembers(writer, *details.forwarding);
        writer.EndObject();
    }
}

void writeSurroundings(JsonWriter &writer, std::span<const Ancestor> ancestors,
                       const Project *project)
{
    if (project != nullptr) {
        writeMember(writer, "project", project->folder);
        writeKnown(writer, "branch", project->branch);
    }
    if (ancestors.empty()) {
        return;
    }
    writeKey(writer, "ancestors");
    writer.StartArray();
    for (const Ancestor &ancestor : ancestors) {
        writer.StartObject();
        writeMember(writer, "pid", ancestor.pid);
        writeMember(writer, "name", ancestor.name);
        writer.EndObject();
    }
    writer.EndArray();
}

void writeShadows(JsonWriter &writer, std::span<const Shadow> shadows)
{
    writeKey(writer, "shadowedBy");
    writer.StartArray();
    for (const Shadow &shadow : shadows) {
        writer.StartObject();
        writeMember(writer, "target", shadow.target);
        writeMember(writer, "pid", shadow.pid);
        writeMember(writer, "processName", shadow.processName);
        writeMember(writer, "address", shadow.address);
        writer.EndObject();
    }
    writer.EndArray();
}

} // namespace

JsonOwner::JsonOwner(const RawPortInfo &record, PortTier tier, std::string_view description,
                     std::span<const Ancestor> ancestors, const Project *project)
{
    constexpr std::string_view portKey = R"("port":)";
    const std::string common = members([&](JsonWriter &writer) {
        Tarnwick::writeMembers(writer, record);
        writeMember(writer, "tier", rawValue(tier));
        writeMember(writer, "description", description);
    });
    // Only a number comes before it.
    const std::size_t port = common.find(portKey) + portKey.size();
    m_beforePort = common.substr(0, port);
    m_afterPort = common.substr(common.find(',', port));
    m_end = members([&](JsonWriter &writer) { writeSurroundings(writer, ancestors, project); });
}

void JsonOwner::append(std::string &json, std::int64_t port, const ListenerDetails &details,
                       std::span<const Shadow> shadows)
{
    if (!isCached(details)) {
        m_details = details;
        m_detailsText = members([&details](JsonWriter &writer) { writeMembers(writer, details); });
    }
    if (m_addressText.empty() || details.address != m_address) {
        m_address = details.address;
        m_addressText = details.address.text();
    }
    std::array<char, 20> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), port);
    json.append("{").append(m_beforePort).append(digits.data(), end).append(m_afterPort);
    json.append(R"(,"address":")").append(m_addressText).append("\"");
    if (details.address.isV6Only && details.address.isAny()) {
        json.append(R"(,"v6Only":true)");
    }
    json.append(details.isExposed() ? R"(,"exposed":true,)" : R"(,"exposed":false,)");
    json.append(m_detailsText);
    if (!shadows.empty()) {
        json.append(",").append(
            members([shadows](JsonWriter &writer) { writeShadows(writer, shadows); }));
    }
    json.append(m_end.empty() ? "" : ",").append(m_end).append("}");
}

bool JsonOwner::isCached(const ListenerDetails &details) const
{
    return !m_detailsText.empty() && details.userId == m_details.userId &&
           details.isUserUnit == m_details.isUserUnit && details.user == m_details.user &&
           details.interface == m_details.interface && details.unit == m_details.unit &&
           details.socketUnit == m_details.socketUnit && details.container == m_details.container &&
           details.forwarding == m_details.forwarding;
}

} // namespace Tarnwick
