// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRules.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

bool TierRule::hasCondition() const
{
    return executable.isGiven() || process.isGiven() || directory.isGiven() || command.isGiven() ||
           !ports.empty();
}

TierRules::TierRules(std::vector<TierRule> rules)
    : m_rules(std::move(rules))
{
    for (std::size_t place = 0; place < m_rules.size(); ++place) {
        addToIndex(m_rules[place], place);
    }
}

void TierRules::addToIndex(const TierRule &rule, std::size_t place)
{
    const auto isAddedBy = [this, place](const GlobList &condition) {
        return m_index.add(condition.included(), place);
    };
    // The condition comes first that the fewest records meet.
    if (isAddedBy(rule.command)) {
        return;
    }
    if (const auto names = rule.process.onlyTexts()) {
        for (const std::string &name : *names) {
            m_byProcess[name].push_back(place);
        }
        return;
    }
    if (!isAddedBy(rule.executable) && !isAddedBy(rule.process) && !isAddedBy(rule.directory)) {
        m_others.add(place);
    }
}

const TierRule *TierRules::match(const RawPortInfo &record) const
{
    return Matcher(*this).match(record);
}

const TierRule *TierRules::Matcher::match(const RawPortInfo &record)
{
    if (m_rules.m_rules.empty()) {
        return nullptr;
    }
    joinCommand(record);
    findPlaces(record);
    const TierRule *found = nullptr;
    m_places.anyOf([&](std::size_t place) {
        const TierRule &rule = m_rules.m_rules[place];
        found = holds(rule, record) ? &rule : nullptr;
        return found != nullptr;
    });
    return found;
}

void TierRules::Matcher::joinCommand(const RawPortInfo &record)
{
    m_command.clear();
    for (const std::string &argument : record.arguments) {
        m_command.append(m_command.empty() ? "" : " ").append(argument);
    }
}

void TierRules::Matcher::findPlaces(const RawPortInfo &record)
{
    m_places = m_rules.m_others;
    const auto known = m_rules.m_byProcess.find(record.processName);
    if (known != m_rules.m_byProcess.end()) {
        for (const std::size_t place : known->second) {
            m_places.add(place);
        }
    }
    for (const std::string_view text :
         {std::string_view(record.commandPath), std::string_view(m_command),
          std::string_view(record.processName), std::string_view(record.cwd)}) {
        m_rules.m_index.find(text, m_places);
    }
}

/// The conditions that cost least come first.
bool TierRules::Matcher::holds(const TierRule &rule, const RawPortInfo &record) const
{
    const auto isMet = [](const GlobList &condition, std::string_view text) {
        return !condition.isGiven() || condition.matches(text);
    };
    const auto isInside = [&record](const PortRange &range) {
        return record.port >= range.first && record.port <= range.last;
    };
    return (rule.ports.empty() || std::any_of(rule.ports.begin(), rule.ports.end(), isInside)) &&
           isMet(rule.process, record.processName) && isMet(rule.executable, record.commandPath) &&
           isMet(rule.directory, record.cwd) && isMet(rule.command, m_command);
}

} // namespace Tarnwick
