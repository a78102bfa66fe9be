// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input, up to the zero bytes, for the texts of a process: name, path, working directory
// and arguments.

#include "Helper/RecordBounds.h"
#include "Shared/JsonText.h"
#include "Shared/Utf8.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <span>
#include <string>
#include <vector>

using namespace Tarnwick;

namespace {

std::string take(std::string_view &text)
{
    std::string taken(text.substr(0, text.find('\0')));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return taken;
}

RawPortInfo recordFrom(std::string_view text)
{
    RawPortInfo record;
    record.pid = 4711;
    record.port = 65'535;
    record.processName = RecordBounds::name(take(text));
    record.commandPath = RecordBounds::path(take(text));
    record.cwd = RecordBounds::path(take(text));
    std::vector<std::string> arguments;
    while (!text.empty()) {
        arguments.push_back(take(text));
    }
    record.arguments = RecordBounds::arguments(arguments);
    record.originArguments =
        RecordBounds::arguments(std::span(arguments).subspan(arguments.size() / 2));
    record.processStartedAt = Timestamp(std::chrono::seconds(1'714'555'800));
    record.memoryBytes = ~std::uint64_t{0};
    return record;
}

void checkSize(const RawPortInfo &record)
{
    constexpr std::size_t brackets = 2;
    const std::string payload = RawPortInfo::encode(std::array{record});
    require(payload.size() <= RecordBounds::cost(record) + brackets);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const RawPortInfo record = recordFrom(textOf(data, size));
    require(JsonText::size(record.processName) <= RecordBounds::maxNameSize);
    require(JsonText::size(record.commandPath) <= RecordBounds::maxPathSize);
    checkSize(record);
    const std::size_t cost = RecordBounds::cost(record);
    for (const std::size_t room : {RecordBounds::minRecordSize, cost / 2, cost - 1, cost}) {
        if (room < RecordBounds::minRecordSize) {
            continue;
        }
        const RawPortInfo shortened = RecordBounds::shortened(record, room);
        require(RecordBounds::cost(shortened) <= room);
        require(Utf8::isValid(shortened.processName) && Utf8::isValid(shortened.cwd));
        checkSize(shortened);
    }
    return 0;
}
