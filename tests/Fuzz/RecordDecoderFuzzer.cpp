// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Iso8601.h"
#include "Shared/RawPortInfo.h"
#include "Shared/Utf8.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <chrono>
#include <variant>
#include <vector>

using namespace Tarnwick;

namespace {

/// Dates outside of the years 0000 to 9999, which an offset may lead to, cannot be encoded.
bool isEncodable(const RawPortInfo &record)
{
    using namespace std::chrono;
    const Timestamp begin = sys_days(year(0) / 1 / 1);
    const Timestamp end = sys_days(year(10'000) / 1 / 1);
    return record.processStartedAt >= begin && record.processStartedAt < end;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const RawPortInfo::Decoded decoded = RawPortInfo::decode(textOf(data, size));
    if (const auto *const error = std::get_if<RawPortInfo::DecodingError>(&decoded)) {
        require(!error->reason.empty());
        require(Utf8::isValid(error->description()));
        return 0;
    }
    const auto &records = std::get<std::vector<RawPortInfo>>(decoded);
    if (std::all_of(records.begin(), records.end(), isEncodable)) {
        require(RawPortInfo::decode(RawPortInfo::encode(records)) == decoded);
    }
    return 0;
}
