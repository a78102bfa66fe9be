// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/Glob.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Tarnwick {

/// A set of places in a list of rules, which are visited from the lowest.
class RulePlaces
{
public:
    void add(std::size_t place)
    {
        if (place / wordSize >= m_words.size()) {
            m_words.resize(place / wordSize + 1);
        }
        m_words[place / wordSize] |= std::uint64_t{1} << place % wordSize;
    }

    /// Calls @p visit with each place until it returns true; whether it did.
    template<class Visit>
    bool anyOf(Visit visit) const
    {
        for (std::size_t index = 0; index < m_words.size(); ++index) {
            for (std::uint64_t rest = m_words[index]; rest != 0; rest &= rest - 1) {
                const auto bit = static_cast<std::size_t>(std::countr_zero(rest));
                if (visit(index * wordSize + bit)) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    static constexpr std::size_t wordSize = 64;

    std::vector<std::uint64_t> m_words;
};

/// Finds the rules that a text may meet in one pass over it, by short pieces (keys) of which each
/// of these rules needs one. Immutable once filled; any thread.
class TierRuleIndex
{
public:
    /// Adds the rule at @p place, which can hold only for a record with a text that one of @p
    /// patterns matches; false where there are none, or one of them has no piece that is long
    /// enough.
    [[nodiscard]] bool add(std::span<const Glob> patterns, std::size_t place);

    /// Adds the places of the rules that have a key in @p text to @p places.
    void find(std::string_view text, RulePlaces &places) const;

private:
    struct Entry
    {
        std::uint32_t key;
        std::uint32_t next; ///< the number of the next entry in the bucket, counted from 1, or 0
        std::size_t place;
    };

    void add(std::uint32_t key, std::size_t place);

    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_buckets; ///< the numbers of their first entries
};

} // namespace Tarnwick
