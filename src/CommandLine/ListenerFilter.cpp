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
    for (const std::string &text : m_selection.excluded) {
        m_excluded.emplace_back(text);
    }
}

void ListenerFilter::apply(std::vector<Listener> &listeners) const
{
    if (m_selection == Selection{}) {
        return;
    }
    std::erase_if(listeners, [this](const Listener &listener) {
        return !matches(listener.entry, listener.details);
    });
}

bool ListenerFilter::matches(const PortEntry &entry, const ListenerDetails &details) const
{
    const std::vector<PortTier> &tiers = m_selection.tiers;
    if (!tiers.empty() && std::find(tiers.begin(), tiers.end(), entry.tier) == tiers.end()) {
        return false;
    }
    if (!isOnPort(entry.port) || !isOfUser(details) ||
        (m_selection.exposed && !details.isExposed())) {
        return false;
    }
    const auto finds = [this, &entry](const PortSearch &search) { return find(search, entry); };
    return (!m_search || finds(*m_search)) &&
           std::none_of(m_excluded.begin(), m_excluded.end(), finds);
}

bool ListenerFilter::isOnPort(std::int64_t port) const
{
    const std::vector<SelectedPorts> &ports = m_selection.ports;
    return ports.empty() ||
           std::any_of(ports.begin(), ports.end(), [port](const SelectedPorts &range) {
               return port >= range.first && port <= range.last;
           });
}

bool ListenerFilter::isOfUser(const ListenerDetails &details) const
{
    const std::vector<std::string> &users = m_selection.users;
    return users.empty() ||
           std::any_of(users.begin(), users.end(), [&details](const std::string &user) {
               return user == details.user || user == std::to_string(details.userId);
           });
}

bool ListenerFilter::find(const PortSearch &search, const PortEntry &entry) const
{
    return search.matches(entry) || search.contains(EntryText::fullCommand(entry, m_home)) ||
           search.contains(EntryText::fullCommand(entry, {}));
}

std::string ListenerFilter::nothingFound() const
{
    if (m_selection == Selection{}) {
        return "Nothing is listening.";
    }
    Selection others = m_selection;
    others.ports.clear();
    if (others != Selection{}) {
        return "No listener matches.";
    }
    const std::vector<SelectedPorts> &ports = m_selection.ports;
    return ports.size() == 1 && ports.front().first == ports.front().last
               ? "Nothing listens on port " + std::to_string(ports.front().first) + "."
               : "Nothing listens on these ports.";
}

} // namespace Tarnwick
