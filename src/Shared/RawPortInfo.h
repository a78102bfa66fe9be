// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Timestamp.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// One listening socket as the helper reports it: a record of the listing that crosses from the
/// helper to its clients as a JSON array. A plain value; two records are equal when all nine fields
/// are. All strings are UTF-8.
struct RawPortInfo
{
    std::int64_t pid = 0; ///< the owner's process identifier; 0 when the owner is unknown
    std::int64_t port = 0;
    std::string processName;
    std::string commandPath; ///< full path of the executable, empty when unknown
    std::string cwd;         ///< working directory, empty when unknown
    std::vector<std::string> arguments;
    std::vector<std::string> originArguments; ///< may be empty
    Timestamp processStartedAt;               ///< crosses the wire in whole seconds
    std::uint64_t memoryBytes = 0;            ///< resident set

    friend bool operator==(const RawPortInfo &, const RawPortInfo &) = default;

    /// Why a payload did not decode: which record (counted from 0) and which key, where there are
    /// such, and what was wrong.
    struct DecodingError
    {
        std::optional<std::size_t> record;
        std::string key;
        std::string reason;

        /// One line for the log: 'record 3, key "memoryBytes": -1 is out of range'.
        [[nodiscard]] std::string description() const;

        friend bool operator==(const DecodingError &, const DecodingError &) = default;
    };

    using Decoded = std::variant<std::vector<RawPortInfo>, DecodingError>;

    /// Decodes a whole payload: UTF-8 JSON, an array of objects that each hold the nine keys; other
    /// keys are ignored. Strict in types, ranges, dates (ISO 8601 to the second with Z or a numeric
    /// offset) and encoding; one bad record loses the whole payload. Needs no stack in proportion
    /// to the input, so that a hostile payload cannot overflow it. Any thread.
    [[nodiscard]] static Decoded decode(std::string_view payload);

    /// The payload for @p records, the nine keys in order. A string that is not UTF-8, or a date
    /// outside the years 0000 to 9999, is a programming error and stops the program. Throws
    /// std::bad_alloc.
    [[nodiscard]] static std::string encode(std::span<const RawPortInfo> records);
};

} // namespace Tarnwick

template<>
struct std::hash<Tarnwick::RawPortInfo>
{
    std::size_t operator()(const Tarnwick::RawPortInfo &record) const noexcept;
};
