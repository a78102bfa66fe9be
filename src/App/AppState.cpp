// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppState.h"

#include "Core/NeverDestroyed.h"
#include "Shared/PortSearch.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace Tarnwick {

namespace {

/// Indexed by the filter's number.
constexpr std::array<std::string_view, AppState::allTierFilters.size()> filterTexts{
    "all", "dev", "app", "system"};

} // namespace

std::string_view rawValue(AppState::TierFilter filter)
{
    return filterTexts[static_cast<std::size_t>(filter)];
}

AppState::AppState(QObject *parent)
    : QObject(parent)
{
}

AppState &AppState::shared()
{
    static NeverDestroyed<AppState> state;
    return *state;
}

void AppState::setPorts(const std::vector<SharedPortEntry> &ports)
{
    PortList list;
    for (const SharedPortEntry &entry : ports) {
        list.append(entry);
    }
    Q_EMIT willChange(Property::Ports);
    m_ports = std::move(list);
    Q_EMIT portsChanged();
}

void AppState::setSelectedTier(TierFilter filter)
{
    Q_EMIT willChange(Property::SelectedTier);
    m_selectedTier = filter;
    Q_EMIT selectedTierChanged();
}

void AppState::setSearchQuery(std::string query)
{
    Q_EMIT willChange(Property::SearchQuery);
    m_searchQuery = std::move(query);
    Q_EMIT searchQueryChanged();
}

void AppState::setShowSystemPorts(bool show)
{
    Q_EMIT willChange(Property::ShowSystemPorts);
    m_showSystemPorts = show;
    Q_EMIT showSystemPortsChanged();
}

std::vector<SharedPortEntry> AppState::filteredPorts() const
{
    const PortSearch search(m_searchQuery);
    std::vector<SharedPortEntry> filtered;
    std::ranges::copy_if(m_ports, std::back_inserter(filtered),
                         [this, &search](const SharedPortEntry &entry) {
                             return passesFilter(entry->tier) && search.matches(*entry);
                         });
    std::ranges::stable_sort(filtered, {},
                             [](const SharedPortEntry &entry) { return entry->port; });
    return filtered;
}

std::map<PortTier, int> AppState::tierCounts() const
{
    std::map<PortTier, int> counts;
    for (const SharedPortEntry &entry : m_ports) {
        ++counts[entry->tier];
    }
    return counts;
}

void AppState::portOpened(SharedPortEntry entry)
{
    if (m_ports.contains(entry->pid, entry->port)) {
        return;
    }
    Q_EMIT willChange(Property::Ports);
    m_ports.append(std::move(entry));
    Q_EMIT portsChanged();
}

void AppState::portClosed(const PortEntry &entry)
{
    // The list may be the only owner of the entry, and an observer may change the list.
    const std::int64_t pid = entry.pid;
    const std::int64_t port = entry.port;
    Q_EMIT willChange(Property::Ports);
    m_ports.remove(pid, port);
    Q_EMIT portsChanged();
}

bool AppState::passesFilter(PortTier tier) const
{
    if (m_selectedTier == TierFilter::All) {
        return m_showSystemPorts || tier != PortTier::System;
    }
    return rawValue(tier) == rawValue(m_selectedTier);
}

} // namespace Tarnwick
