// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace Tarnwick {

/// A listener as it is on a real machine, and what the rules that come with Tarnwick make of it.
struct ShippedTierCase
{
    std::string_view source; ///< the Debian package, or the tool chain that installs the executable
    std::string_view executable;
    std::string_view process;
    std::string_view directory;
    std::string_view command; ///< the arguments, joined with blanks
    std::int64_t port;
    PortTier tier;
    std::string_view description;
};

/// One at least for each rule.
[[nodiscard]] std::span<const ShippedTierCase> shippedTierCases();

} // namespace Tarnwick
