// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawRecordBuilder.h"

#include "Shared/Iso8601.h"

#include <algorithm>
#include <charconv>
#include <concepts>
#include <optional>
#include <system_error>
#include <utility>

namespace Tarnwick {

namespace {

using Texts = std::vector<std::string>;
using Member =
    std::variant<std::int64_t RawPortInfo::*, std::uint64_t RawPortInfo::*,
                 std::string RawPortInfo::*, Texts RawPortInfo::*, Timestamp RawPortInfo::*>;

struct Field
{
    std::string_view key;
    Member member;
};

/// In the order of the wire format.
constexpr std::array<Field, RawRecordBuilder::keyCount> fields{{
    {"pid", &RawPortInfo::pid},
    {"port", &RawPortInfo::port},
    {"processName", &RawPortInfo::processName},
    {"commandPath", &RawPortInfo::commandPath},
    {"cwd", &RawPortInfo::cwd},
    {"arguments", &RawPortInfo::arguments},
    {"originArguments", &RawPortInfo::originArguments},
    {"processStartedAt", &RawPortInfo::processStartedAt},
    {"memoryBytes", &RawPortInfo::memoryBytes},
}};

std::string_view nameWithArticle(JsonType type)
{
    constexpr std::array<std::string_view, 6> names{"null",     "a boolean", "a number",
                                                    "a string", "an array",  "an object"};
    return names[static_cast<std::size_t>(type)];
}

/// @p number for a message, which a number of any length must not swell.
std::string shortened(std::string_view number)
{
    constexpr std::size_t longest = 40;
    std::string text(number.substr(0, longest));
    return number.size() > longest ? text + "..." : text;
}

// store() puts a value into a field of its type and returns what is wrong, or nothing if it fits.

template<std::integral Integer>
std::string store(Integer &target, JsonType type, std::string_view text)
{
    if (type != JsonType::Number) {
        return mismatch(JsonType::Number, type);
    }
    const std::size_t sign = text.starts_with('-') ? 1 : 0;
    if (text.find_first_not_of("0123456789", sign) != std::string_view::npos) {
        return shortened(text) + " is not an integer";
    }
    const std::string_view digits = text == "-0" ? text.substr(1) : text;
    const char *const end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, target).ec != std::errc{}) {
        return shortened(text) + " is out of range";
    }
    return {};
}

std::string store(std::string &target, JsonType type, std::string_view text)
{
    if (type != JsonType::String) {
        return mismatch(JsonType::String, type);
    }
    target = text;
    return {};
}

std::string store(Texts &target, JsonType type, std::string_view /*text*/)
{
    if (type != JsonType::Array) {
        return mismatch(JsonType::Array, type);
    }
    target.clear();
    return {};
}

std::string store(Timestamp &target, JsonType type, std::string_view text)
{
    if (type != JsonType::String) {
        return mismatch(JsonType::String, type);
    }
    const std::optional<Timestamp> time = Iso8601::parseSeconds(text);
    if (!time) {
        return "not an ISO 8601 date and time to the second with its zone";
    }
    target = *time;
    return {};
}

} // namespace

std::string mismatch(JsonType expected, JsonType found)
{
    std::string text = "expected ";
    text += nameWithArticle(expected);
    text += ", found ";
    text += nameWithArticle(found);
    return text;
}

void RawRecordBuilder::start()
{
    m_record = {};
    m_field = keyCount;
    m_elements = nullptr;
    m_seen.reset();
    m_faults = {};
}

void RawRecordBuilder::key(std::string_view name)
{
    const auto *const field = std::ranges::find(fields, name, &Field::key);
    m_field = static_cast<std::size_t>(field - fields.begin());
    m_elements = nullptr;
    if (m_field == keyCount) {
        return;
    }
    if (m_seen[m_field]) {
        fault(std::exchange(m_field, keyCount), "appears twice");
        return;
    }
    m_seen.set(m_field);
}

void RawRecordBuilder::value(JsonType type, std::string_view text)
{
    if (m_field == keyCount) {
        return;
    }
    const Member &member = fields[m_field].member;
    std::string wrong = std::visit(
        [this, type, text](auto pointer) { return store(m_record.*pointer, type, text); }, member);
    if (!wrong.empty()) {
        fault(m_field, std::move(wrong));
        return;
    }
    if (const auto *const texts = std::get_if<Texts RawPortInfo::*>(&member)) {
        m_elements = &(m_record.**texts);
    }
}

void RawRecordBuilder::element(JsonType type, std::string_view text)
{
    if (m_elements == nullptr) {
        return;
    }
    if (type == JsonType::String) {
        m_elements->emplace_back(text);
        return;
    }
    fault(m_field, "element " + std::to_string(m_elements->size()) + ": " +
                       mismatch(JsonType::String, type));
    m_elements = nullptr;
}

std::variant<RawPortInfo, RawRecordBuilder::Fault> RawRecordBuilder::finish()
{
    for (std::size_t field = 0; field < keyCount; ++field) {
        if (!m_seen[field]) {
            return Fault{fields[field].key, "missing"};
        }
        if (!m_faults[field].empty()) {
            return Fault{fields[field].key, std::move(m_faults[field])};
        }
    }
    return std::move(m_record);
}

void RawRecordBuilder::fault(std::size_t field, std::string reason)
{
    if (m_faults[field].empty()) {
        m_faults[field] = std::move(reason);
    }
}

} // namespace Tarnwick
