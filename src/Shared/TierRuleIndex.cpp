// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleIndex.h"

#include <array>
#include <optional>

namespace Tarnwick {

namespace {

constexpr std::size_t keySize = 4; ///< bytes
constexpr unsigned bucketBits = 12;

constexpr std::uint32_t keyAt(std::string_view text, std::size_t at)
{
    std::uint32_t key = 0;
    for (std::size_t index = 0; index < keySize; ++index) {
        key |= std::uint32_t{static_cast<unsigned char>(text[at + index])} << (8 * index);
    }
    return key;
}

constexpr std::size_t bucketOf(std::uint32_t key)
{
    // Knuth, The Art of Computer Programming, volume 3, section 6.4: multiplicative hashing.
    return (key * std::uint32_t{2'654'435'761U}) >> (32U - bucketBits);
}

/// The buckets of the keys that many paths and commands have.
constexpr std::array<bool, std::size_t{1} << bucketBits> commonBuckets = [] {
    constexpr std::string_view common =
        "/usr/local/bin/ /usr/local/lib /usr/sbin/ /usr/share/ /usr/lib/ /usr/libexec/ /home/ "
        "/bin/ /lib/ /.local/share/ /node_modules/.bin/ node --server.js -server.port .server "
        "/server server/ .jar java python main.js main port ";
    std::array<bool, std::size_t{1} << bucketBits> buckets{};
    for (std::size_t at = 0; at + keySize <= common.size(); ++at) {
        buckets[bucketOf(keyAt(common, at))] = true;
    }
    return buckets;
}();

/// A key that every text has that @p pattern matches, the last one that few other texts have.
std::optional<std::uint32_t> keyOf(const Glob &pattern)
{
    std::optional<std::uint32_t> found;
    for (const std::string_view text : pattern.literals()) {
        for (std::size_t at = 0; at + keySize <= text.size(); ++at) {
            const std::uint32_t key = keyAt(text, at);
            if (!found || !commonBuckets[bucketOf(key)]) {
                found = key;
            }
        }
    }
    return found;
}

} // namespace

bool TierRuleIndex::add(std::span<const Glob> patterns, std::size_t place)
{
    std::vector<std::uint32_t> keys;
    keys.reserve(patterns.size());
    for (const Glob &pattern : patterns) {
        const std::optional<std::uint32_t> key = keyOf(pattern);
        if (!key) {
            return false;
        }
        keys.push_back(*key);
    }
    for (const std::uint32_t key : keys) {
        add(key, place);
    }
    return !keys.empty();
}

void TierRuleIndex::add(std::uint32_t key, std::size_t place)
{
    if (m_buckets.empty()) {
        m_buckets.resize(std::size_t{1} << bucketBits);
    }
    std::uint32_t &first = m_buckets[bucketOf(key)];
    m_entries.push_back({key, first, place});
    first = static_cast<std::uint32_t>(m_entries.size());
}

void TierRuleIndex::find(std::string_view text, RulePlaces &places) const
{
    if (m_entries.empty() || text.size() < keySize) {
        return;
    }
    std::uint32_t key = keyAt(text, 0) << 8U;
    for (const char next : text.substr(keySize - 1)) {
        key = key >> 8U | std::uint32_t{static_cast<unsigned char>(next)} << 24U;
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
