// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// What the rows of a table are put together by, each group under a heading.
enum class Grouping : std::uint8_t { None, Project, Tier, User, Unit, Container };

class GroupedListeners
{
public:
    GroupedListeners() = delete;

    /// The grouping that is called @p name: "project", "tier", "user", "unit" or "container".
    [[nodiscard]] static std::optional<Grouping> groupingFrom(std::string_view name);

    /// The printable heading of the group that @p listener belongs to, with @p home written "~";
    /// "other" where it belongs to none.
    [[nodiscard]] static std::string heading(Grouping grouping, const Listener &listener,
                                             std::string_view home);

    /// Puts the listeners of each group together, in the order in which they were: tiers in theirs,
    /// other groups in that of their names, and last what belongs to none.
    static void sort(std::vector<Listener> &listeners, Grouping grouping);
};

} // namespace Tarnwick
