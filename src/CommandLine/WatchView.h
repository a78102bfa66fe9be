// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Key.h"
#include "CommandLine/Listener.h"

#include <chrono>
#include <string_view>
#include <system_error>
#include <vector>

namespace Tarnwick {

/// What a watch shows. Functions that write return the error of the output.
class WatchView
{
public:
    using Clock = std::chrono::steady_clock;

    /// What a key that was pressed leads to, beside what the view changes.
    enum class KeyResult {
        Done,
        DiscardKeys, ///< keys pressed before what is shown now are not meant for it
        Quit,
    };

    WatchView() = default;
    virtual ~WatchView() = default;
    WatchView(const WatchView &) = delete;
    WatchView &operator=(const WatchView &) = delete;

    /// Shows the listeners of one scan, merged and in order.
    [[nodiscard]] virtual std::error_code show(std::vector<Listener> listeners) = 0;

    /// Shows why a scan failed; the listeners shown before stand.
    [[nodiscard]] virtual std::error_code showFailure(std::string_view message) = 0;

    [[nodiscard]] virtual std::error_code redraw() = 0;

    /// Takes a key; redraw() shows what it has changed.
    [[nodiscard]] virtual KeyResult press(const Key & /*key*/) { return KeyResult::Done; }

    /// A descriptor that advance() waits for; -1 for none.
    [[nodiscard]] virtual int descriptor() const { return -1; }

    /// When to call advance() although nothing has come.
    [[nodiscard]] virtual Clock::time_point deadline() const { return Clock::time_point::max(); }

    /// Continues what takes time.
    virtual void advance() {}
};

} // namespace Tarnwick
