// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/ScanDifferences.h"

#include "Core/PortRegistry.h"

#include <utility>

namespace Tarnwick {

using Kind = EntryChange::Kind;

namespace {

ListenerKey keyOf(const PortEntry &entry)
{
    return {entry.pid, entry.port};
}

} // namespace

void EntryChange::applyTo(PortRegistry &registry) const
{
    if (kind == Kind::Opened) {
        registry.portOpened(entry);
    } else {
        registry.portClosed(*entry);
    }
}

std::vector<EntryChange> ScanDifferences::begin(const std::vector<SharedPortEntry> &entries)
{
    ++m_callsInFlight;
    m_haveOverlapped = m_haveOverlapped || m_callsInFlight > 1;

    std::vector<EntryChange> changes;
    EntrySet current;
    current.reserve(entries.size());
    for (const SharedPortEntry &entry : entries) {
        const auto known = m_previous.find(entry);
        const bool isNew = known == m_previous.end();
        if (current.insert(isNew ? entry : *known).second && isNew) {
            changes.push_back({Kind::Opened, entry});
        }
    }
    for (const SharedPortEntry &entry : m_previous) {
        if (!current.contains(entry)) {
            changes.push_back({Kind::Closed, entry});
        }
    }
    m_previous = std::move(current);
    for (const EntryChange &change : changes) {
        apply(change, m_wanted);
    }
    return changes;
}

/// As the registry does it: an entry is ignored where there is a row, and a removal takes the row
/// whatever the name of its entry.
void ScanDifferences::apply(const EntryChange &change, Rows &rows)
{
    const ListenerKey key = keyOf(*change.entry);
    if (change.kind == Kind::Opened) {
        rows.try_emplace(key, change.entry);
    } else {
        rows.erase(key);
    }
}

void ScanDifferences::made(const EntryChange &change)
{
    apply(change, m_shown);
}

std::vector<EntryChange> ScanDifferences::repairs()
{
    std::vector<EntryChange> changes;
    if (m_callsInFlight > 1 || !m_haveOverlapped) {
        return changes;
    }
    for (const auto &[key, entry] : m_shown) {
        const auto wanted = m_wanted.find(key);
        if (wanted == m_wanted.end() || *wanted->second != *entry) {
            changes.push_back({Kind::Closed, entry});
        }
    }
    for (const auto &[key, entry] : m_wanted) {
        const auto shown = m_shown.find(key);
        if (shown == m_shown.end() || *shown->second != *entry) {
            changes.push_back({Kind::Opened, entry});
        }
    }
    m_haveOverlapped = !changes.empty();
    return changes;
}

} // namespace Tarnwick
