// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Tarnwick {

/// The number that the whole of @p text writes in plain decimal, when it lies from @p least to
/// @p greatest: no blanks, no sign but "-", no other base.
template<class Number>
[[nodiscard]] std::optional<Number> parseNumberAs(std::string_view text, Number least,
                                                  Number greatest)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    const bool inRange = number >= least && number <= greatest;
    return error == std::errc{} && stopped == end && inRange ? std::optional(number) : std::nullopt;
}

[[nodiscard]] inline std::optional<std::int64_t>
parseNumber(std::string_view text, std::int64_t least, std::int64_t greatest)
{
    return parseNumberAs<std::int64_t>(text, least, greatest);
}

} // namespace Tarnwick
