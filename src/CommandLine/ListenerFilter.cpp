// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerFilter.h"

#include "Shared/EntryText.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

ListenerFilter::ListenerFilter(Selection selection, std::string home)
    : m_selection(std::move(selection))
    , m_home(std::move(home))
{
    if (!m_selection.search.empty()) {
        m_search.emplace(m_selection.search);
    }
}

void ListenerFilter::apply(std::vector<Listener> &listeners) const
{
    if (m_selection == Selection{}) {
        return;
    }
    std::erase_if(listeners, [this](const Listener &listener) { return !matches(listener.entry); });
}

bool ListenerFilter::matches(const PortEntry &entry) const
{
    const std::vector<PortTier> &tiers = m_selection.tiers;
    if (!tiers.empty() && std::find(tiers.begin(), tiers.end(), entry.tier) == tiers.end()) {
        return false;
    }
    if (m_selection.port && *m_selection.port != entry.port) {
        return false;
    }
    return !m_search || isFound(entry);
}

bool ListenerFilter::isFound(const PortEntry &entry) const
{
    return m_search->matches(entry) || m_search->contains(EntryText::fullCommand(entry, m_home)) ||
           m_search->contains(EntryText::fullCommand(entry, {}));
}

std::string ListenerFilter::nothingFound() const
{
    if (m_selection == Selection{}) {
        return "Nothing is listening.";
    }
    if (m_selection == Selection{.tiers = {}, .search = {}, .port = m_selection.port}) {
        return "Nothing listens on port " + std::to_string(*m_selection.port) + ".";
    }
    return "No listener matches.";
}

} // namespace Tarnwick
