// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"
#include "Shared/GlobList.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRuleIndex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

struct PortRange
{
    std::int64_t first = 0;
    std::int64_t last = 0; ///< inclusive

    friend bool operator==(const PortRange &, const PortRange &) = default;
};

/// One rule for the tier of a listener. It holds for a record that meets all of the conditions that
/// are given. A value.
struct TierRule
{
    PortTier tier = PortTier::Unknown;
    std::string description{}; ///< of the listener; empty for what ProcessClassifier says
    GlobList executable{};     ///< of RawPortInfo::commandPath
    GlobList process{};        ///< of RawPortInfo::processName
    GlobList directory{};      ///< of RawPortInfo::cwd
    GlobList command{};        ///< of the RawPortInfo::arguments, joined with blanks
    std::vector<PortRange> ports{};
    std::string file{}; ///< where the rule stands
    unsigned line = 0;  ///< there, counted from 1

    [[nodiscard]] bool hasCondition() const;
};

/// The rules that come before the built-in ones of ProcessClassifier, in their order: the first
/// that holds for a record gives its tier. Immutable; any thread.
class TierRules
{
public:
    TierRules() = default;
    explicit TierRules(std::vector<TierRule> rules);
    TierRules(const TierRules &) = delete;
    TierRules &operator=(const TierRules &) = delete;

    [[nodiscard]] std::span<const TierRule> rules() const { return m_rules; }

    /// Finds the rules of many records, with room for their texts that is allocated once. One
    /// thread; the rules outlive it.
    class Matcher
    {
    public:
        explicit Matcher(const TierRules &rules)
            : m_rules(rules)
        {
        }

        /// The first rule that holds for @p record; null where none does, and the built-in rules
        /// decide.
        [[nodiscard]] const TierRule *match(const RawPortInfo &record);

    private:
        void joinCommand(const RawPortInfo &record);
        void findPlaces(const RawPortInfo &record);
        [[nodiscard]] bool holds(const TierRule &rule, const RawPortInfo &record) const;

        const TierRules &m_rules;
        std::string m_command; ///< of the record at hand
        RulePlaces m_places;   ///< the rules to try for it
    };

    /// As Matcher::match(), for one record.
    [[nodiscard]] const TierRule *match(const RawPortInfo &record) const;

private:
    void addToIndex(const TierRule &rule, std::size_t place);

    std::vector<TierRule> m_rules;
    // So that few rules have to be tried for a record, each is in one of these.
    std::unordered_map<std::string, std::vector<std::size_t>> m_byProcess; ///< for certain names
    TierRuleIndex m_index; ///< by a piece of the executable, command, directory or name
    RulePlaces m_others;
};

using SharedTierRules = std::shared_ptr<const TierRules>;

} // namespace Tarnwick
