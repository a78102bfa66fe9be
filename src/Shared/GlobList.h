// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/Glob.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// One condition of a rule for tiers: patterns of which any suffices, and others, written with `!`
/// in front, none of which may match. A value; matching is for any thread.
class GlobList
{
public:
    /// Adds @p entry, valid UTF-8: a pattern for @p subject, with or without a `!` in front. A path
    /// that is "~" or begins with "~/" is below @p home; where that is empty it matches nothing.
    /// Returns what is wrong with the pattern, which is then not added; empty when nothing is.
    [[nodiscard]] std::string add(std::string_view entry, Glob::Subject subject,
                                  std::string_view home);

    /// Whether there is a condition at all.
    [[nodiscard]] bool isGiven() const { return !m_entries.empty(); }

    /// Whether @p text meets the condition. With nothing but excluded patterns, it is met by all
    /// that they do not match. What is not known, an empty text, meets no condition.
    [[nodiscard]] bool matches(std::string_view text) const;

    /// The entries as they were added.
    [[nodiscard]] const std::vector<std::string> &entries() const { return m_entries; }

    /// The texts that meet the condition, when they are only those; nothing where there are
    /// wildcards.
    [[nodiscard]] std::optional<std::vector<std::string>> onlyTexts() const;

    /// The patterns, of which any suffices; empty where none is needed.
    [[nodiscard]] const std::vector<Glob> &included() const { return m_included; }

private:
    std::vector<std::string> m_entries;
    bool m_hasIncluded = false; ///< also where they match nothing for want of a home
    std::vector<Glob> m_included;
    std::vector<Glob> m_excluded;
};

} // namespace Tarnwick
