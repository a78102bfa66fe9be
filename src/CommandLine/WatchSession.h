// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace Tarnwick {

/// How a watch shows what it sees.
enum class Presentation {
    InPlace, ///< a table that fills a terminal and is drawn again
    Lines,   ///< a line for each change
};

enum class WatchEvent {
    Tick,    ///< the deadline has passed
    Redraw,  ///< the terminal has another size, or is ours again
    Quit,    ///< the user has seen enough, or the system wants us to end
    Unheard, ///< nobody reads the output any more
};

/// The time that a watch lives through: it begins when an object is made, and what had to be
/// changed for it is restored when the object goes.
class WatchSession
{
public:
    WatchSession() = default;
    virtual ~WatchSession() = default;
    WatchSession(const WatchSession &) = delete;
    WatchSession &operator=(const WatchSession &) = delete;

    /// Waits for whatever comes first.
    [[nodiscard]] virtual WatchEvent await(std::chrono::steady_clock::time_point deadline) = 0;
};

} // namespace Tarnwick
