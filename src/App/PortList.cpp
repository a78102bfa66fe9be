// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/PortList.h"

#include <iterator>
#include <utility>

namespace Tarnwick {

void PortList::append(SharedPortEntry entry)
{
    const ListenerKey key{entry->pid, entry->port};
    m_entries.push_back(std::move(entry));
    m_index.emplace(key, std::prev(m_entries.end()));
}

bool PortList::contains(std::int64_t pid, std::int64_t port) const
{
    return m_index.contains({pid, port});
}

void PortList::remove(std::int64_t pid, std::int64_t port)
{
    const auto [first, last] = m_index.equal_range({pid, port});
    for (auto indexed = first; indexed != last; ++indexed) {
        m_entries.erase(indexed->second);
    }
    m_index.erase(first, last);
}

} // namespace Tarnwick
