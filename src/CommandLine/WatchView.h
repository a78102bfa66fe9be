// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <string_view>
#include <system_error>
#include <vector>

namespace Tarnwick {

/// What a watch looks like. Each function returns what the output made of it.
class WatchView
{
public:
    WatchView() = default;
    virtual ~WatchView() = default;
    WatchView(const WatchView &) = delete;
    WatchView &operator=(const WatchView &) = delete;

    /// Shows the listeners of one look, merged and in order.
    [[nodiscard]] virtual std::error_code show(std::vector<Listener> listeners) = 0;

    /// Tells that a look failed; the listeners shown before stand.
    [[nodiscard]] virtual std::error_code showFailure(std::string_view message) = 0;

    [[nodiscard]] virtual std::error_code redraw() = 0;
};

} // namespace Tarnwick
