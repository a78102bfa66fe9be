// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRules.h"

#include <string>
#include <string_view>

namespace Tarnwick {

struct PathRule;

/// Why a listener has its tier. A value; any thread.
struct TierExplanation
{
    PortTier tier = PortTier::Unknown;
    const TierRule *rule = nullptr; ///< that decided, of the rules given; null for a built-in one
    const PathRule *builtIn = nullptr; ///< that decided; null where none held, and `rule` is null

    /// What decided the tier of @p record where @p rules hold, as PortScanner::entries() does.
    [[nodiscard]] static TierExplanation of(const RawPortInfo &record, const TierRules &rules);

    /// Where the rule stands: "FILE:LINE", or "built-in".
    [[nodiscard]] std::string place() const;

    /// The conditions that were met, on one line, such as "executable /usr/bin/node, directory
    /// ~/**"; "no rule holds" where none did.
    [[nodiscard]] std::string conditions() const;
};

/// The conditions of @p rule on one line: their names, each with its entries.
[[nodiscard]] std::string conditionsText(const TierRule &rule);

/// The condition of @p rule: "executable /usr/bin/**" or "executable **/.nvm/**".
[[nodiscard]] std::string conditionsText(const PathRule &rule);

/// "3000" or "3000-3999".
[[nodiscard]] std::string portsText(const PortRange &range);

} // namespace Tarnwick
