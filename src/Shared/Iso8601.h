// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Timestamp.h"

#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Dates as text in the internet date-time form of ISO 8601 (RFC 3339), years 0000 to 9999.
class Iso8601
{
public:
    Iso8601() = delete;

    /// "2024-05-01T09:30:00Z": whole seconds, rounded down, in UTC. Another year than four digits
    /// can hold is a programming error and stops the program; the same below.
    [[nodiscard]] static std::string formatSeconds(Timestamp time);

    /// "2024-05-01T09:30:00.123Z".
    [[nodiscard]] static std::string formatMilliseconds(Timestamp time);

    /// The time that @p text names: full date, T, time to the second, and Z or an offset such as
    /// +02:00. Nothing when it is anything else; fractions of a second are not part of this form.
    [[nodiscard]] static std::optional<Timestamp> parseSeconds(std::string_view text);
};

} // namespace Tarnwick
