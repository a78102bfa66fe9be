// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Timestamp.h"

#include <chrono>
#include <cstdint>

namespace Tarnwick {

/// Turns the kernel's clock ticks since boot into wall-clock time. The moment of boot is measured
/// once and kept, so that a start time never jitters between two listings; it follows when the
/// system's clock is set.
class BootClock
{
public:
    BootClock();

    /// Measures again, and adopts what it finds when that is off by more than a clock is adjusted
    /// by in passing. True when it did: times told before are then out of date.
    bool update();

    [[nodiscard]] Timestamp time(std::uint64_t ticks) const;

private:
    std::chrono::nanoseconds m_boot; ///< since the epoch
    std::uint64_t m_ticksPerSecond;
};

} // namespace Tarnwick
