// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Timestamp.h"

#include <string>

namespace Tarnwick {

/// The text that tells for how long a port has been open.
class Uptime
{
public:
    Uptime() = delete;

    /// The time from @p since to @p now as "59s", "1m", "2h 5m" or "3d 4h": at most two units, the
    /// second left out when it is zero, nothing rounded up. A start in the future gives "0s".
    [[nodiscard]] static std::string format(Timestamp since, Timestamp now);
};

} // namespace Tarnwick
