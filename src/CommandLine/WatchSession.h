// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Key.h"

#include <chrono>
#include <optional>

namespace Tarnwick {

/// How a watch shows what it sees.
enum class Presentation {
    InPlace, ///< a table that fills a terminal and is drawn again
    Lines,   ///< a line for each change
};

enum class WatchEvent {
    Deadline,     ///< the deadline has passed, or the descriptor is readable
    Changed,      ///< other sockets listen than when the event before was returned
    KeyPressed,   ///< takeKey() has a key
    Redraw,       ///< the terminal has another size, or is ours again
    Quit,         ///< a signal asked the program to end, or the terminal is gone
    OutputClosed, ///< nobody reads the output any more
};

/// The time that a watch lives through: it begins when an object is made, and what had to be
/// changed for it is restored when the object goes.
class WatchSession
{
public:
    using Clock = std::chrono::steady_clock;

    WatchSession() = default;
    virtual ~WatchSession() = default;
    WatchSession(const WatchSession &) = delete;
    WatchSession &operator=(const WatchSession &) = delete;

    /// Waits for whatever comes first. @p descriptor is one more to become readable; -1 for none.
    [[nodiscard]] virtual WatchEvent await(Clock::time_point deadline, int descriptor) = 0;

    /// The key of a `KeyPressed` event.
    [[nodiscard]] virtual Key takeKey() = 0;

    /// Discards the keys that were pressed until now.
    virtual void discardKeys() = 0;
};

} // namespace Tarnwick
