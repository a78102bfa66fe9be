// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/RawPortInfo.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// The types of JSON values (RFC 8259, section 3).
enum class JsonType : std::uint8_t { Null, Boolean, Number, String, Array, Object };

/// "expected a string, found null" and the like.
[[nodiscard]] std::string mismatch(JsonType expected, JsonType found);

/// Builds one record of a listing from the members of its JSON object, which it is told one by one
/// in the order of the text, and judges them. Used again for each record. One thread.
class RawRecordBuilder
{
public:
    static constexpr std::size_t keyCount = 9;

    /// The first bad key of a record, in the order of the wire format.
    struct Fault
    {
        std::string_view key;
        std::string reason;
    };

    /// Begins a new record.
    void start();

    /// The member named @p name follows.
    void key(std::string_view name);

    /// The value of the member, or the opening of one that is an array or an object. @p text is
    /// what a string holds or a number is written as; empty for the other types.
    void value(JsonType type, std::string_view text);

    /// The next element of the array that was opened by `value`; ignored where nothing of an array
    /// is wanted. @p text as above.
    void element(JsonType type, std::string_view text);

    /// Ends the record and hands it out if nothing was wrong with it.
    [[nodiscard]] std::variant<RawPortInfo, Fault> finish();

private:
    void fault(std::size_t field, std::string reason);

    RawPortInfo m_record;
    std::size_t m_field = keyCount; ///< of the current member; keyCount for one to be ignored
    std::vector<std::string> *m_elements = nullptr; ///< where the elements of an array go
    std::bitset<keyCount> m_seen;
    std::array<std::string, keyCount> m_faults; ///< empty where nothing is wrong
};

} // namespace Tarnwick
