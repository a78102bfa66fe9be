// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortTier.h"
#include "Shared/GlobList.h"
#include "Shared/RawPortInfo.h"

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
        [[nodiscard]] bool holds(const TierRule &rule, const RawPortInfo &record);
        [[nodiscard]] std::string_view commandOf(const RawPortInfo &record);

        const TierRules &m_rules;
        std::string m_command;
        bool m_isCommandJoined = false; ///< of the record at hand
    };

    /// As Matcher::match(), for one record.
    [[nodiscard]] const TierRule *match(const RawPortInfo &record) const;

private:
    /// Places in m_rules, rising.
    using Places = std::vector<std::size_t>;
    using PlacesByText = std::unordered_map<std::string, Places>;

    std::vector<TierRule> m_rules;
    // Each rule is in one of these, so that few have to be tried for a record.
    PlacesByText m_byProcess;  ///< those for certain names of processes
    PlacesByText m_byBaseName; ///< those for certain names of executables
    Places m_others;
};

using SharedTierRules = std::shared_ptr<const TierRules>;

} // namespace Tarnwick
