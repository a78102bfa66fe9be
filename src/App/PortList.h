// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/ListenerKey.h"
#include "Models/PortEntry.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

namespace Tarnwick {

/// Listening ports in the order in which they were added, found by process identifier and port.
/// Adding, finding and removing take constant time however many there are. One thread at a time.
class PortList
{
public:
    using Entries = std::list<SharedPortEntry>;
    // What the standard library's algorithms and test libraries ask a container for.
    using value_type = Entries::value_type;         // NOLINT(readability-identifier-naming)
    using const_iterator = Entries::const_iterator; // NOLINT(readability-identifier-naming)

    PortList() = default;
    ~PortList() = default;
    PortList(const PortList &) = delete; // the index leads into the list's own nodes
    PortList &operator=(const PortList &) = delete;
    PortList(PortList &&) = default;
    PortList &operator=(PortList &&) = default;

    /// Adds @p entry at the end, also when its process identifier and port are there already.
    void append(SharedPortEntry entry);

    [[nodiscard]] bool contains(std::int64_t pid, std::int64_t port) const;

    /// Removes every entry with that process identifier and port; the rest keeps its order.
    void remove(std::int64_t pid, std::int64_t port);

    [[nodiscard]] const_iterator begin() const { return m_entries.begin(); }
    [[nodiscard]] const_iterator end() const { return m_entries.end(); }
    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    [[nodiscard]] bool empty() const { return m_entries.empty(); }

private:
    Entries m_entries;
    std::unordered_multimap<ListenerKey, Entries::iterator> m_index;
};

} // namespace Tarnwick
