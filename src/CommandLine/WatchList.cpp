// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchList.h"

#include "CommandLine/ListenerFilter.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::array<std::string_view, WatchList::orderCount> names{
    "port", "tier", "pid", "process", "uptime", "memory", "command"};

/// Whether @p left comes before @p right. The longest uptime and the most memory come first, as
/// what is looked for.
bool comesBefore(WatchList::Order order, const PortEntry &left, const PortEntry &right)
{
    using Order = WatchList::Order;
    switch (order) {
    case Order::Port:
        return left.port < right.port;
    case Order::Tier:
        return left.tier < right.tier;
    case Order::Pid:
        return left.pid < right.pid;
    case Order::Process:
        return left.process < right.process;
    case Order::Uptime:
        return left.openedAt < right.openedAt;
    case Order::Memory:
        return left.memoryBytes > right.memoryBytes;
    case Order::Command:
        return EntryText::fullCommand(left, {}) < EntryText::fullCommand(right, {});
    }
    return false;
}

} // namespace

void WatchList::update(std::vector<Listener> listeners)
{
    std::optional<Listener> before;
    if (const Listener *current = selected()) {
        before = *current;
    }
    m_listeners = std::move(listeners);
    arrange();
    if (before) {
        select(*before);
    }
}

void WatchList::setFilter(std::string filter)
{
    std::optional<Listener> before;
    if (const Listener *current = selected()) {
        before = *current;
    }
    m_filter = std::move(filter);
    arrange();
    if (before) {
        select(*before);
    }
}

void WatchList::setOrder(Order order, bool isReversed)
{
    const std::optional<std::uint32_t> before =
        m_rows.empty() ? std::nullopt : std::optional(m_rows[m_selected]);
    m_order = order;
    m_isReversed = isReversed;
    arrange();
    const auto found = std::find(m_rows.begin(), m_rows.end(), before);
    m_selected = found != m_rows.end() ? static_cast<std::size_t>(found - m_rows.begin()) : 0;
}

std::string_view WatchList::name(Order order)
{
    return names.at(static_cast<std::size_t>(order));
}

const Listener &WatchList::row(std::size_t index) const
{
    return m_listeners[m_rows[index]];
}

const Listener *WatchList::selected() const
{
    return m_rows.empty() ? nullptr : &row(m_selected);
}

void WatchList::move(std::ptrdiff_t rows)
{
    const auto last = static_cast<std::ptrdiff_t>(m_rows.size()) - 1;
    const auto wanted = static_cast<std::ptrdiff_t>(m_selected) +
                        std::clamp<std::ptrdiff_t>(rows, -last - 1, last + 1);
    m_selected = static_cast<std::size_t>(
        std::clamp<std::ptrdiff_t>(wanted, 0, std::max<std::ptrdiff_t>(last, 0)));
}

std::vector<Listener> WatchList::visible(std::size_t height)
{
    const std::size_t shown = std::min(height, m_rows.size());
    m_first = std::min(m_first, m_rows.size() - shown);
    m_first = std::min(m_first, m_selected);
    if (shown > 0 && m_selected >= m_first + shown) {
        m_first = m_selected + 1 - shown;
    }
    std::vector<Listener> result;
    result.reserve(shown);
    for (std::size_t index = m_first; index < m_first + shown; ++index) {
        result.push_back(row(index));
    }
    return result;
}

/// Decides anew which listeners have a row, and where.
void WatchList::arrange()
{
    Selection searched;
    searched.search = m_filter;
    const ListenerFilter filter(std::move(searched), m_home);
    m_rows.clear();
    for (std::uint32_t index = 0; index < m_listeners.size(); ++index) {
        if (filter.matches(m_listeners[index].entry, m_listeners[index].details)) {
            m_rows.push_back(index);
        }
    }
    if (m_order != Order::Port) {
        std::stable_sort(m_rows.begin(), m_rows.end(), [this](auto left, auto right) {
            return comesBefore(m_order, m_listeners[left].entry, m_listeners[right].entry);
        });
    }
    if (m_isReversed) {
        std::reverse(m_rows.begin(), m_rows.end());
    }
    m_selected = std::min(m_selected, m_rows.empty() ? 0 : m_rows.size() - 1);
}

/// Selects the row of @p listener: that of its socket, or of its process on the same port, which
/// has a socket for each IP family. Leaves the selection where it is when there is none.
void WatchList::select(const Listener &listener)
{
    const auto choose = [this](const auto &isMeant) {
        const auto found = std::find_if(m_rows.begin(), m_rows.end(), [&](std::uint32_t index) {
            return isMeant(m_listeners[index]);
        });
        if (found != m_rows.end()) {
            m_selected = static_cast<std::size_t>(found - m_rows.begin());
        }
        return found != m_rows.end();
    };
    const bool isSocketThere = listener.socket != 0 && choose([&listener](const Listener &other) {
                                   return other.socket == listener.socket;
                               });
    if (!isSocketThere) {
        static_cast<void>(
            choose([&listener](const Listener &other) { return other.entry == listener.entry; }));
    }
}

} // namespace Tarnwick
