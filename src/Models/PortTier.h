// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/Color.h"

#include <array>
#include <optional>
#include <string_view>

namespace Tarnwick {

/// The classification of a listening process, in the order in which the tiers are shown.
enum class PortTier {
    System,  ///< ships with the operating system
    App,     ///< an installed application or its support process
    Dev,     ///< run from a developer tool chain
    Unknown, ///< anything else
};

/// Every tier, in declaration order.
inline constexpr std::array<PortTier, 4> allPortTiers{PortTier::System, PortTier::App,
                                                      PortTier::Dev, PortTier::Unknown};

/// The tier's text: "system", "app", "dev" or "unknown".
[[nodiscard]] std::string_view rawValue(PortTier tier);

/// The tier with exactly that text (case matters), or nothing.
[[nodiscard]] std::optional<PortTier> portTierFromRawValue(std::string_view text);

/// The tier's accent colour, opaque.
[[nodiscard]] Color accentColor(PortTier tier);

} // namespace Tarnwick
