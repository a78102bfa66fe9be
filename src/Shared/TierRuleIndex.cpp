// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleIndex.h"

#include <cstring>

namespace Tarnwick {

namespace {

std::uint32_t keyAt(const char *text)
{
    std::uint32_t key = 0;
    static_assert(sizeof key == TierRuleIndex::keySize);
    std::memcpy(&key, text, sizeof key);
    return key;
}

} // namespace

std::size_t TierRuleIndex::bucketOf(std::uint32_t key)
{
    // Knuth, The Art of Computer Programming, volume 3, section 6.4: multiplicative hashing.
    return (key * std::uint32_t{2'654'435'761U}) >> (32U - bucketBits);
}

void TierRuleIndex::add(std::string_view key, std::size_t place)
{
    if (m_buckets.empty()) {
        m_buckets.resize(std::size_t{1} << bucketBits);
    }
    const std::uint32_t number = keyAt(key.data());
    std::uint32_t &first = m_buckets[bucketOf(number)];
    m_entries.push_back({number, first, place});
    first = static_cast<std::uint32_t>(m_entries.size());
}

void TierRuleIndex::find(std::string_view text, RulePlaces &places) const
{
    if (m_entries.empty() || text.size() < keySize) {
        return;
    }
    for (const char *at = text.data(); at <= text.data() + text.size() - keySize; ++at) {
        const std::uint32_t key = keyAt(at);
        for (std::uint32_t number = m_buckets[bucketOf(key)]; number != 0;) {
            const Entry &entry = m_entries[number - 1];
            if (entry.key == key) {
                places.add(entry.place);
            }
            number = entry.next;
        }
    }
}

} // namespace Tarnwick
