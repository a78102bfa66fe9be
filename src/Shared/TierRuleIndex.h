// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
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
    static constexpr std::size_t keySize = 4; ///< bytes

    /// The rule at @p place can hold only for a record with @p key, of keySize bytes, in a text.
    void add(std::string_view key, std::size_t place);

    /// Adds the places of the rules that have a key in @p text to @p places.
    void find(std::string_view text, RulePlaces &places) const;

private:
    struct Entry
    {
        std::uint32_t key;
        std::uint32_t next; ///< the number of the next entry in the bucket, counted from 1, or 0
        std::size_t place;
    };

    static constexpr unsigned bucketBits = 12;

    [[nodiscard]] static std::size_t bucketOf(std::uint32_t key);

    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_buckets; ///< the numbers of their first entries
};

} // namespace Tarnwick
