// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/PortTier.h"

#include <algorithm>
#include <cstddef>

namespace Tarnwick {

namespace {

struct TierTraits
{
    std::string_view rawValue;
    Color accentColor;
};

/// Indexed by the tier's number.
constexpr std::array<TierTraits, allPortTiers.size()> traits{{
    {"system", {71.0 / 255.0, 85.0 / 255.0, 105.0 / 255.0, 1.0}},
    {"app", {96.0 / 255.0, 165.0 / 255.0, 250.0 / 255.0, 1.0}},
    {"dev", {74.0 / 255.0, 222.0 / 255.0, 128.0 / 255.0, 1.0}},
    {"unknown", {251.0 / 255.0, 191.0 / 255.0, 36.0 / 255.0, 1.0}},
}};

constexpr const TierTraits &traitsOf(PortTier tier)
{
    return traits[static_cast<std::size_t>(tier)];
}

} // namespace

std::string_view rawValue(PortTier tier)
{
    return traitsOf(tier).rawValue;
}

std::optional<PortTier> portTierFromRawValue(std::string_view text)
{
    const auto *const found = std::ranges::find(
        allPortTiers, text, [](PortTier tier) { return traitsOf(tier).rawValue; });
    if (found == allPortTiers.end()) {
        return std::nullopt;
    }
    return *found;
}

Color accentColor(PortTier tier)
{
    return traitsOf(tier).accentColor;
}

} // namespace Tarnwick
