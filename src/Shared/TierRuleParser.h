// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/TierRules.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarnwick {

/// Why a file with rules is refused.
struct TierRuleProblem
{
    std::string file;
    unsigned line = 0; ///< counted from 1; 0 where the file as a whole is meant
    std::string reason;

    /// "FILE:LINE: reason" or "FILE: reason", one line of valid UTF-8: a control character is
    /// written as "?".
    [[nodiscard]] std::string text() const;

    friend bool operator==(const TierRuleProblem &, const TierRuleProblem &) = default;
};

/// Reads the TOML (toml.io, version 1.0) that rules for tiers are written in:
///
///     [[rule]]
///     tier = "dev"
///     executable = ["/usr/bin/node", "/usr/bin/python3*"]
///     directory = "~/**"
///     ports = [8000, "3000-3999"]
///     description = "A server of mine"
///
/// `tier` and at least one condition are needed; `executable`, `process`, `directory` and `command`
/// are patterns (Glob, GlobList) or arrays of them.
class TierRuleParser
{
public:
    TierRuleParser() = delete;

    using Parsed = std::variant<std::vector<TierRule>, TierRuleProblem>;

    /// The rules in @p text, in their order, or the first thing that is wrong with it. @p file is
    /// its name; @p home is what "~/" stands for. Any thread.
    [[nodiscard]] static Parsed parse(std::string_view text, const std::string &file,
                                      std::string_view home);
};

} // namespace Tarnwick
