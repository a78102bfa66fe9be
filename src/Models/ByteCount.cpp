// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/ByteCount.h"

#include <array>
#include <string_view>

namespace Tarnwick {

namespace {

struct Unit
{
    std::string_view name;
    unsigned shift; ///< the unit is two to this power
    unsigned decimals;
};

constexpr std::array<Unit, 6> units{{
    {"KB", 10, 0},
    {"MB", 20, 1},
    {"GB", 30, 2},
    {"TB", 40, 2},
    {"PB", 50, 2},
    {"EB", 60, 2},
}};

constexpr std::uint64_t powerOfTen(unsigned exponent)
{
    std::uint64_t power = 1;
    for (unsigned i = 0; i < exponent; ++i) {
        power *= 10;
    }
    return power;
}

/// @p bytes in @p unit, times ten to the power of its decimals, rounded half up. By long division,
/// one decimal at a time, for floating point would not be exact.
constexpr std::uint64_t scaled(std::uint64_t bytes, const Unit &unit)
{
    const std::uint64_t mask = (std::uint64_t{1} << unit.shift) - 1;
    std::uint64_t value = bytes >> unit.shift;
    std::uint64_t remainder = bytes & mask;
    for (unsigned i = 0; i < unit.decimals; ++i) {
        remainder *= 10;
        value = value * 10 + (remainder >> unit.shift);
        remainder &= mask;
    }
    return value + (remainder >> (unit.shift - 1));
}

std::string text(std::uint64_t value, const Unit &unit)
{
    unsigned decimals = unit.decimals;
    while (decimals > 0 && value % 10 == 0) {
        value /= 10;
        --decimals;
    }
    const std::uint64_t power = powerOfTen(decimals);
    std::string text = std::to_string(value / power);
    if (decimals > 0) {
        const std::string fraction = std::to_string(value % power);
        text += '.';
        text.append(decimals - fraction.size(), '0');
        text += fraction;
    }
    text += ' ';
    text += unit.name;
    return text;
}

} // namespace

std::string ByteCount::format(std::uint64_t bytes)
{
    if (bytes < 1024) {
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    }
    // What rounds up to 1024 of a unit belongs to the next one.
    std::size_t index = 0;
    std::uint64_t value = scaled(bytes, units[index]);
    while (value >= 1024 * powerOfTen(units[index].decimals)) {
        ++index;
        value = scaled(bytes, units[index]);
    }
    return text(value, units[index]);
}

} // namespace Tarnwick
