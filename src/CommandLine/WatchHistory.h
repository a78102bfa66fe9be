// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "Models/Timestamp.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarnwick {

/// What has begun and ceased to listen since the first scan of a watch. Its size is bounded: the
/// oldest changes are dropped.
class WatchHistory
{
public:
    static constexpr std::size_t maxChanges = 1000;
    static constexpr std::size_t maxCommandSize = 512; ///< in bytes

    struct Change
    {
        bool isOpened = false;
        Timestamp time; ///< at which it was detected
        std::int64_t port = 0;
        std::int64_t pid = 0;
        std::string process; ///< printable
        std::string command; ///< printable, shortened
        /// When it began to listen, of one that has ceased; nothing for one that was there at the
        /// first scan.
        std::optional<Timestamp> openedAt{};
    };

    /// Notes how @p now differs from @p before, both in order.
    void note(std::span<const Listener> before, std::span<const Listener> now, Timestamp time);

    /// The oldest first.
    [[nodiscard]] const std::deque<Change> &changes() const { return m_changes; }

private:
    void add(const Listener &listener, bool isOpened, Timestamp time);
    [[nodiscard]] std::optional<Timestamp> openingOf(const PortEntry &entry) const;

    std::deque<Change> m_changes;
};

} // namespace Tarnwick
