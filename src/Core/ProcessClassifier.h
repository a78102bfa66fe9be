// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"

#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Decides what kind of process listens: its tier, from the path of its executable, and a name that
/// people know it by. Two pure functions over two constant tables; any thread. Nothing is allocated
/// but the texts returned, for both run for every record of every scan.
class ProcessClassifier
{
public:
    ProcessClassifier() = delete;

    struct Description
    {
        std::string desc;
        std::optional<std::string> settingsLink; ///< a pane of the system's settings, by name

        friend bool operator==(const Description &, const Description &) = default;
    };

    /// The tier of the executable at @p path (a full path; an empty one is `Unknown`). The rules
    /// are prefix and substring tests, case-sensitive, and the first that matches decides.
    [[nodiscard]] static PortTier tier(std::string_view path);

    /// What to call the process named @p processName, whose tier is already known: a well-known
    /// service's name when its tier's table has one, else the name itself.
    [[nodiscard]] static Description describe(std::string_view processName, PortTier tier);
};

} // namespace Tarnwick
