// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/RecordBounds.h"

#include "Shared/JsonText.h"
#include "Shared/Utf8.h"

#include <algorithm>

namespace Tarnwick {

namespace {

constexpr std::size_t separator = 1; // the comma

constexpr std::size_t emptyText = 2; // the quotation marks

/// A record without its texts: its keys, numbers and date, and the value in memory.
constexpr std::size_t emptyRecord = 256;
static_assert(emptyRecord >= sizeof(RawPortInfo));

std::size_t argumentCost(std::string_view text)
{
    return JsonText::size(text) + separator + sizeof(std::string);
}

std::size_t argumentsCost(std::span<const std::string> texts)
{
    std::size_t cost = 0;
    for (const std::string &text : texts) {
        cost += argumentCost(text);
    }
    return cost;
}

/// The first of @p texts that cost no more than @p room together.
std::vector<std::string> firstThatFit(std::span<const std::string> texts, std::size_t room)
{
    auto end = texts.begin();
    for (; end != texts.end() && argumentCost(*end) <= room; ++end) {
        room -= argumentCost(*end);
    }
    return {texts.begin(), end};
}

} // namespace

std::string RecordBounds::name(std::string_view text)
{
    return JsonText::shortened(Utf8::sanitized(text), maxNameSize);
}

std::string RecordBounds::path(std::string_view text)
{
    return JsonText::shortened(Utf8::sanitized(text), maxPathSize);
}

std::vector<std::string> RecordBounds::arguments(std::span<const std::string> texts)
{
    std::vector<std::string> result;
    std::size_t size = 0;
    for (const std::string &text : texts) {
        std::string argument = Utf8::sanitized(text);
        size += JsonText::size(argument) + separator;
        if (size > maxArgumentsSize) {
            break;
        }
        result.push_back(std::move(argument));
    }
    return result;
}

std::size_t RecordBounds::cost(const std::array<std::string_view, 3> &texts,
                               std::span<const std::string> arguments,
                               std::span<const std::string> originArguments)
{
    std::size_t cost = emptyRecord + argumentsCost(arguments) + argumentsCost(originArguments);
    for (const std::string_view text : texts) {
        cost += JsonText::size(text);
    }
    return cost;
}

std::size_t RecordBounds::share(std::size_t count)
{
    return std::max(maxListingSize / std::max<std::size_t>(count, 1), minRecordSize);
}

RawPortInfo RecordBounds::shortened(const RawPortInfo &record, std::size_t room)
{
    RawPortInfo result;
    result.pid = record.pid;
    result.port = record.port;
    result.processStartedAt = record.processStartedAt;
    result.memoryBytes = record.memoryBytes;

    std::size_t left = room - std::min(room, RecordBounds::cost(result));
    const auto take = [&left](std::string_view text, std::size_t most) {
        std::string taken = JsonText::shortened(text, emptyText + std::min(left, most));
        left -= JsonText::size(taken) - emptyText;
        return taken;
    };
    result.processName = take(record.processName, left);
    const std::size_t reservedForCwd = std::min(JsonText::size(record.cwd), left / 2);
    result.commandPath = take(record.commandPath, left - reservedForCwd);
    result.cwd = take(record.cwd, left);

    const std::size_t reservedForOrigin = std::min(argumentsCost(record.originArguments), left / 2);
    result.arguments = firstThatFit(record.arguments, left - reservedForOrigin);
    left -= argumentsCost(result.arguments);
    result.originArguments = firstThatFit(record.originArguments, left);
    return result;
}

} // namespace Tarnwick
