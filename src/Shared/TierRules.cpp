// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRules.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

template<class PlacesByText>
void add(PlacesByText &places, const std::vector<std::string> &texts, std::size_t place)
{
    for (const std::string &text : texts) {
        auto &known = places[text];
        if (known.empty() || known.back() != place) {
            known.push_back(place);
        }
    }
}

/// The places of several lists, each once, from the lowest.
class MergedPlaces
{
public:
    using Places = std::span<const std::size_t>;

    explicit MergedPlaces(std::array<Places, 3> lists)
        : m_lists(lists)
    {
    }

    /// The next place, or `none`.
    [[nodiscard]] std::size_t take()
    {
        std::size_t lowest = none;
        Places *from = nullptr;
        for (Places &list : m_lists) {
            if (!list.empty() && list.front() < lowest) {
                lowest = list.front();
                from = &list;
            }
        }
        if (from != nullptr) {
            *from = from->subspan(1);
        }
        return lowest;
    }

private:
    std::array<Places, 3> m_lists;
};

} // namespace

bool TierRule::hasCondition() const
{
    return executable.isGiven() || process.isGiven() || directory.isGiven() || command.isGiven() ||
           !ports.empty();
}

TierRules::TierRules(std::vector<TierRule> rules)
    : m_rules(std::move(rules))
{
    for (std::size_t place = 0; place < m_rules.size(); ++place) {
        const TierRule &rule = m_rules[place];
        if (const auto names = rule.process.onlyTexts()) {
            add(m_byProcess, *names, place);
        } else if (const auto baseNames = rule.executable.onlyBaseNames()) {
            add(m_byBaseName, *baseNames, place);
        } else {
            m_others.push_back(place);
        }
    }
}

const TierRule *TierRules::match(const RawPortInfo &record) const
{
    return Matcher(*this).match(record);
}

const TierRule *TierRules::Matcher::match(const RawPortInfo &record)
{
    m_isCommandJoined = false;
    if (m_rules.m_rules.empty()) {
        return nullptr;
    }
    const auto placesOf = [](const PlacesByText &places, const std::string &text) {
        const auto known = places.find(text);
        return known == places.end() ? MergedPlaces::Places() : MergedPlaces::Places(known->second);
    };
    const std::string &path = record.commandPath;
    MergedPlaces places({placesOf(m_rules.m_byProcess, record.processName),
                         placesOf(m_rules.m_byBaseName, path.substr(path.rfind('/') + 1)),
                         MergedPlaces::Places(m_rules.m_others)});
    for (std::size_t place = places.take(); place != none; place = places.take()) {
        const TierRule &rule = m_rules.m_rules[place];
        if (holds(rule, record)) {
            return &rule;
        }
    }
    return nullptr;
}

/// The conditions that cost least come first.
bool TierRules::Matcher::holds(const TierRule &rule, const RawPortInfo &record)
{
    const auto isMet = [](const GlobList &condition, std::string_view text) {
        return !condition.isGiven() || condition.matches(text);
    };
    const auto isInside = [&record](const PortRange &range) {
        return record.port >= range.first && record.port <= range.last;
    };
    return (rule.ports.empty() || std::any_of(rule.ports.begin(), rule.ports.end(), isInside)) &&
           isMet(rule.process, record.processName) && isMet(rule.executable, record.commandPath) &&
           isMet(rule.directory, record.cwd) &&
           (!rule.command.isGiven() || rule.command.matches(commandOf(record)));
}

std::string_view TierRules::Matcher::commandOf(const RawPortInfo &record)
{
    if (!m_isCommandJoined) {
        m_isCommandJoined = true;
        m_command.clear();
        for (const std::string &argument : record.arguments) {
            m_command.append(m_command.empty() ? "" : " ").append(argument);
        }
    }
    return m_command;
}

} // namespace Tarnwick
