// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListingReader.h"

#include "Shared/CheckedAllocator.h"
#include "Shared/PortScanner.h"
#include "Shared/RawPortInfoWriter.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include <arpa/inet.h>

namespace Tarnwick {

namespace {

using Pool = rapidjson::MemoryPoolAllocator<CheckedAllocator>;
using Document = rapidjson::GenericDocument<rapidjson::UTF8<>, Pool, CheckedAllocator>;
using Value = Document::ValueType;

/// The member @p name of @p object; null where there is none.
const Value *member(const Value &object, const char *name)
{
    const auto found = object.FindMember(name);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

/// The same for a member that is an object.
const Value *objectMember(const Value &object, const char *name)
{
    const Value *const found = member(object, name);
    return found != nullptr && found->IsObject() ? found : nullptr;
}

std::string text(const Value &object, const char *name)
{
    const Value *const found = member(object, name);
    return found != nullptr && found->IsString()
               ? std::string(found->GetString(), found->GetStringLength())
               : std::string();
}

bool isTrue(const Value &object, const char *name)
{
    const Value *const found = member(object, name);
    return found != nullptr && found->IsBool() && found->GetBool();
}

/// The number in the member @p name; 0 where it is missing or too large for its type.
template<class Number>
Number number(const Value &object, const char *name)
{
    const Value *const found = member(object, name);
    if (found == nullptr || !found->IsInt64() || !std::in_range<Number>(found->GetInt64())) {
        return 0;
    }
    return static_cast<Number>(found->GetInt64());
}

ListenAddress address(const Value &object)
{
    const std::string written = text(object, "address");
    ListenAddress address;
    const bool isV6 = written.find(':') != std::string::npos;
    address.family = isV6 ? ListenAddress::Family::IPv6 : ListenAddress::Family::IPv4;
    // Where the text is no address, none is written.
    static_cast<void>(
        ::inet_pton(isV6 ? AF_INET6 : AF_INET, written.c_str(), address.bytes.data()));
    address.isV6Only = isTrue(object, "v6Only");
    return address;
}

Container container(const Value &object)
{
    Container container;
    container.id = text(object, "id");
    container.name = text(object, "name");
    container.runtime = text(object, "runtime");
    return container;
}

Forwarding forwarding(const Value &object)
{
    Forwarding forwarding;
    forwarding.forwarder = text(object, "forwarder");
    forwarding.pid = number<std::int32_t>(object, "pid");
    forwarding.port = number<std::uint16_t>(object, "port");
    forwarding.processName = text(object, "processName");
    forwarding.command = text(object, "command");
    if (const Value *const behind = objectMember(object, "container")) {
        forwarding.container = container(*behind);
    }
    return forwarding;
}

ListenerDetails details(const Value &object)
{
    ListenerDetails details;
    details.address = address(object);
    details.interface = text(object, "interface");
    details.userId = number<std::uint32_t>(object, "userId");
    details.user = text(object, "user");
    details.unit = text(object, "unit");
    details.isUserUnit = text(object, "unitManager") == "user";
    details.socketUnit = text(object, "socketUnit");
    if (const Value *const own = objectMember(object, "container")) {
        details.container = container(*own);
    }
    if (const Value *const behind = objectMember(object, "forwarding")) {
        details.forwarding = forwarding(*behind);
    }
    return details;
}

/// Calls @p add with each object in the array that is the member @p name.
template<class Add>
void forEachObject(const Value &object, const char *name, const Add &add)
{
    const Value *const list = member(object, name);
    if (list == nullptr || !list->IsArray()) {
        return;
    }
    for (const Value &entry : list->GetArray()) {
        if (entry.IsObject()) {
            add(entry);
        }
    }
}

Listener listener(RawPortInfo record, PortEntry entry, const Value &object)
{
    Listener listener;
    listener.record = std::move(record);
    listener.entry = std::move(entry);
    listener.entry.tier = portTierFromRawValue(text(object, "tier")).value_or(listener.entry.tier);
    if (std::string description = text(object, "description"); !description.empty()) {
        listener.entry.description = std::move(description);
    }
    listener.details = details(object);
    if (std::string folder = text(object, "project"); !folder.empty()) {
        listener.project = Project{std::move(folder), text(object, "branch")};
    }
    forEachObject(object, "ancestors", [&listener](const Value &ancestor) {
        Ancestor above;
        above.pid = number<std::int32_t>(ancestor, "pid");
        above.name = text(ancestor, "name");
        listener.ancestors.push_back(std::move(above));
    });
    forEachObject(object, "shadowedBy", [&listener](const Value &shadow) {
        listener.shadows.push_back({.target = text(shadow, "target"),
                                    .pid = number<std::int64_t>(shadow, "pid"),
                                    .processName = text(shadow, "processName"),
                                    .address = text(shadow, "address")});
    });
    return listener;
}

struct Parsed
{
    std::vector<RawPortInfo> records;
    Document document; ///< an array of as many objects
};

std::variant<Parsed, ListingReader::Error> parse(std::string_view json)
{
    // Whether it is JSON at all, and how deep, is found out here.
    RawPortInfo::Decoded decoded = RawPortInfo::decode(json);
    if (const auto *error = std::get_if<RawPortInfo::DecodingError>(&decoded)) {
        return ListingReader::Error{error->description()};
    }
    Parsed parsed{std::get<std::vector<RawPortInfo>>(std::move(decoded)), Document()};
    parsed.document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
    if (parsed.document.HasParseError() || !parsed.document.IsArray() ||
        parsed.document.Size() != parsed.records.size()) {
        return ListingReader::Error{"it cannot be read a second time"};
    }
    return parsed;
}

} // namespace

std::variant<std::vector<Listener>, ListingReader::Error> ListingReader::read(std::string_view json)
{
    std::variant<Parsed, Error> parsed = parse(json);
    if (auto *error = std::get_if<Error>(&parsed)) {
        return std::move(*error);
    }
    auto &[records, document] = std::get<Parsed>(parsed);
    std::vector<PortEntry> entries = PortScanner::entries(records);
    std::vector<Listener> listeners;
    listeners.reserve(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        listeners.push_back(listener(std::move(records[index]), std::move(entries[index]),
                                     document[static_cast<rapidjson::SizeType>(index)]));
    }
    return listeners;
}

std::variant<std::vector<std::string>, ListingReader::Error>
ListingReader::objects(std::string_view json)
{
    std::variant<Parsed, Error> parsed = parse(json);
    if (auto *error = std::get_if<Error>(&parsed)) {
        return std::move(*error);
    }
    std::vector<std::string> objects;
    for (const Value &object : std::get<Parsed>(parsed).document.GetArray()) {
        JsonBuffer buffer;
        JsonWriter writer(buffer);
        object.Accept(writer);
        objects.emplace_back(buffer.GetString(), buffer.GetSize());
    }
    return objects;
}

} // namespace Tarnwick
