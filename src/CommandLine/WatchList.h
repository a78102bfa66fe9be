// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Listener.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {

/// The rows of a watch on a terminal: the listeners that match a filter, sorted, with one of them
/// selected, and which of them are visible. The selection stays on its listener as long as it is
/// there, and otherwise at its place.
class WatchList
{
public:
    enum class Order : std::uint8_t { Port, Tier, Pid, Process, Uptime, Memory, Command };
    static constexpr std::size_t orderCount = 7;

    /// @p home is what command lines are searched with, see EntryText.
    explicit WatchList(std::string home = {})
        : m_home(std::move(home))
    {
    }

    /// The listeners of a scan, in the order of ports.
    void update(std::vector<Listener> listeners);

    /// A search, as ListenerFilter reads it.
    void setFilter(std::string filter);
    [[nodiscard]] const std::string &filter() const { return m_filter; }

    void setOrder(Order order, bool isReversed);
    [[nodiscard]] Order order() const { return m_order; }
    [[nodiscard]] bool isReversed() const { return m_isReversed; }
    [[nodiscard]] static std::string_view name(Order order);

    /// All of them, whatever the filter.
    [[nodiscard]] std::span<const Listener> listeners() const { return m_listeners; }

    [[nodiscard]] std::size_t size() const { return m_rows.size(); }
    /// The row with the index @p index, which is below size().
    [[nodiscard]] const Listener &row(std::size_t index) const;
    [[nodiscard]] std::size_t selectedIndex() const { return m_selected; }
    /// Null where there are no rows.
    [[nodiscard]] const Listener *selected() const;

    /// Moves the selection by that many rows, down where positive, and not beyond the ends.
    void move(std::ptrdiff_t rows);

    /// Copies of the rows that @p height lines show, among them the one that is selected.
    [[nodiscard]] std::vector<Listener> visible(std::size_t height);
    /// The index of the first of those.
    [[nodiscard]] std::size_t firstVisible() const { return m_first; }

private:
    void arrange();
    void select(const Listener &listener);

    std::string m_home;
    std::vector<Listener> m_listeners;
    std::vector<std::uint32_t> m_rows; ///< indexes of listeners
    std::string m_filter;
    Order m_order = Order::Port;
    bool m_isReversed = false;
    std::size_t m_selected = 0;
    std::size_t m_first = 0;
};

} // namespace Tarnwick
