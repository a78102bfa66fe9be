// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <optional>

namespace Tarnwick {

/// When a watch scans: soon after a change, and otherwise so seldom that it costs next to nothing.
/// One thread.
class WatchSchedule
{
public:
    using Clock = std::chrono::steady_clock;

    /// Scans while nothing changes take one part in this many of a processor's time at most, where
    /// no interval is given.
    static constexpr int restShare = 4000;
    /// Scans after changes take one part in this many at most: changes in a row are shown together.
    static constexpr int changeShare = 4;
    static constexpr std::chrono::milliseconds defaultInterval{2000};

    /// @p interval is the time between two scans while nothing changes, whatever they cost; nothing
    /// for the default interval, or a longer one for the sake of `restShare`.
    explicit WatchSchedule(std::optional<std::chrono::milliseconds> interval)
        : m_interval(interval)
    {
    }

    /// A scan and what is done with its result: it lasts as long as this object.
    class Scan
    {
    public:
        explicit Scan(WatchSchedule &schedule);
        ~Scan();
        Scan(const Scan &) = delete;
        Scan &operator=(const Scan &) = delete;

    private:
        WatchSchedule &m_schedule;
        std::chrono::nanoseconds m_begin;
    };

    /// The next scan shall show a change.
    void noteChange();

    [[nodiscard]] bool isScanDue() const { return Clock::now() >= m_nextScan; }
    [[nodiscard]] Clock::time_point nextScan() const { return m_nextScan; }

    /// A scan ended at @p now that has cost @p processorTime.
    void noteScan(Clock::time_point now, std::chrono::nanoseconds processorTime);

private:
    std::optional<std::chrono::milliseconds> m_interval;
    bool m_hasScanned = false;
    Clock::time_point m_nextScan; ///< at first, at once
    Clock::time_point m_earliestForChange;
};

} // namespace Tarnwick
