// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// Which listeners the user wants to see: those that meet every condition given.
struct Selection
{
    std::vector<PortTier> tiers{}; ///< any of these; empty means every tier
    std::string search{};          ///< as PortSearch reads it; empty means no search
    std::optional<std::int64_t> port{};

    friend bool operator==(const Selection &, const Selection &) = default;
};

} // namespace Tarnwick
