// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Timestamp.h"

#include <string>

namespace Tarnwick {

/// Times for people, in the time zone of the user: that of TZ, else of /etc/localtime.
class ClockText
{
public:
    ClockText() = delete;

    /// "14:03:59".
    [[nodiscard]] static std::string time(Timestamp time);

    /// "2026-05-01 14:03:59".
    [[nodiscard]] static std::string dateAndTime(Timestamp time);
};

} // namespace Tarnwick
