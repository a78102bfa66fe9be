// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// The ports from the first to the last, both of them included.
struct SelectedPorts
{
    std::int64_t first = 0;
    std::int64_t last = 0;

    friend bool operator==(const SelectedPorts &, const SelectedPorts &) = default;
};

/// Which listeners the user wants to see: those that meet every condition given.
struct Selection
{
    std::vector<PortTier> tiers{};       ///< any of these; empty means every tier
    std::string search{};                ///< as PortSearch reads it; empty means no search
    std::vector<SelectedPorts> ports{};  ///< any of these; empty means every port
    bool exposed = false;                ///< only what other machines can reach
    std::vector<std::string> users{};    ///< any of these names or numbers; empty means every user
    std::vector<std::string> excluded{}; ///< none that one of these searches finds

    friend bool operator==(const Selection &, const Selection &) = default;
};

} // namespace Tarnwick
