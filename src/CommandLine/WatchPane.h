// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"
#include "CommandLine/WatchHistory.h"
#include "Models/Timestamp.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// The texts that a watch on a terminal shows in place of its rows: printable lines of any width.
class WatchPane
{
public:
    WatchPane() = delete;

    struct Context
    {
        Timestamp now;
        std::string_view home; ///< written "~"
    };

    /// All that is known of a listener, and who held its port since the watch began.
    [[nodiscard]] static std::vector<std::string>
    details(const Listener &listener, const WatchHistory &history, const Context &context);

    /// What has changed, the latest first.
    [[nodiscard]] static std::vector<std::string> history(const WatchHistory &history,
                                                          const Context &context);

    /// The keys.
    [[nodiscard]] static std::vector<std::string> help();
};

} // namespace Tarnwick
