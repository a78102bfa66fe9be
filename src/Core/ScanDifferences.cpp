// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/ScanDifferences.h"

#include "Core/PortRegistry.h"

#include <memory>
#include <utility>

namespace Tarnwick {

using Kind = EntryChange::Kind;

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
    updateHidden(changes);
    return changes;
}

/// What the changes would leave without a row if each call were applied whole before the next.
void ScanDifferences::updateHidden(const std::vector<EntryChange> &changes)
{
    KeySet closed;
    for (const EntryChange &change : changes) {
        const Key key(*change.entry);
        m_hidden.erase(key);
        if (change.kind == Kind::Closed) {
            closed.insert(key);
        }
    }
    if (closed.empty()) {
        return;
    }
    for (const SharedPortEntry &entry : m_previous) {
        const Key key(*entry);
        if (closed.contains(key)) {
            m_hidden.insert(key);
        }
    }
}

void ScanDifferences::made(const EntryChange &change)
{
    if (change.kind == Kind::Opened) {
        m_shown.emplace(*change.entry);
    } else {
        m_shown.erase(Key(*change.entry));
    }
}

std::vector<EntryChange> ScanDifferences::repairs()
{
    std::vector<EntryChange> changes;
    if (m_callsInFlight > 1 || !m_haveOverlapped) {
        return changes;
    }
    KeySet surplus = m_shown;
    for (const SharedPortEntry &entry : m_previous) {
        const Key key(*entry);
        if (m_hidden.contains(key)) {
            continue;
        }
        surplus.erase(key);
        if (!m_shown.contains(key)) {
            changes.push_back({Kind::Opened, entry});
        }
    }
    for (const Key &key : surplus) {
        const auto gone = std::make_shared<PortEntry>();
        gone->pid = key.pid;
        gone->port = key.port;
        changes.push_back({Kind::Closed, gone});
    }
    m_haveOverlapped = !changes.empty();
    return changes;
}

} // namespace Tarnwick
