// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRules.h"

#include <span>
#include <vector>

namespace Tarnwick {

/// The step of a scan that turns the helper's records into port entries, classifying each on the
/// way. Holds no state and cannot fail; any thread.
class PortScanner
{
public:
    /// An entry for each record, in the same order. Nothing is filtered, merged or sorted.
    [[nodiscard]] static std::vector<PortEntry> entries(std::span<const RawPortInfo> records);

    /// The same with @p rules before the classifier's: the first that holds for a record gives the
    /// entry's tier and, where it has one, its description. Any other description, and every
    /// settings link, is the classifier's for that tier.
    [[nodiscard]] static std::vector<PortEntry> entries(std::span<const RawPortInfo> records,
                                                        const TierRules &rules);
};

} // namespace Tarnwick
