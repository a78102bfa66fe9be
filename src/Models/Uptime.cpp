// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Uptime.h"

#include "Models/Precondition.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace Tarnwick {

namespace {

struct Unit
{
    std::int64_t seconds;
    char letter;
    std::int64_t smallerSeconds; ///< of the unit that may follow; 0 for none
    char smallerLetter;
};

/// Largest first.
constexpr std::array<Unit, 4> units{{
    {86'400, 'd', 3'600, 'h'},
    {3'600, 'h', 60, 'm'},
    {60, 'm', 0, '\0'},
    {1, 's', 0, '\0'},
}};

std::int64_t elapsedSeconds(Timestamp since, Timestamp now)
{
    Timestamp::rep milliseconds = 0;
    if (__builtin_sub_overflow(now.time_since_epoch().count(), since.time_since_epoch().count(),
                               &milliseconds)) {
        preconditionFailure("an uptime must fit in 64 bits");
    }
    return std::max<std::int64_t>(milliseconds / 1'000, 0);
}

} // namespace

std::string Uptime::format(Timestamp since, Timestamp now)
{
    const std::int64_t seconds = elapsedSeconds(since, now);
    const Unit &unit = *std::ranges::find_if(
        units.begin(), units.end() - 1, [seconds](const Unit &u) { return seconds >= u.seconds; });

    std::string text = std::to_string(seconds / unit.seconds);
    text += unit.letter;
    if (unit.smallerSeconds == 0) {
        return text;
    }
    const std::int64_t rest = seconds % unit.seconds / unit.smallerSeconds;
    if (rest != 0) {
        text += ' ';
        text += std::to_string(rest);
        text += unit.smallerLetter;
    }
    return text;
}

} // namespace Tarnwick
