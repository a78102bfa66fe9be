// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PortListModel.h"

#include <QVariant>

#include <algorithm>
#include <ranges>
#include <utility>

namespace Tarnwick {

PortListModel::PortListModel(std::string home, QObject *parent)
    : QAbstractListModel(parent)
    , m_home(std::move(home))
{
}

int PortListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

QVariant PortListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != EntryRole) {
        return {};
    }
    return QVariant::fromValue(PortRow(m_entries[static_cast<std::size_t>(index.row())], m_home));
}

QHash<int, QByteArray> PortListModel::roleNames() const
{
    return {{EntryRole, "entry"}};
}

void PortListModel::setEntries(const std::vector<SharedPortEntry> &entries)
{
    if (std::ranges::equal(m_entries, entries)) {
        return;
    }
    Q_EMIT aboutToChange();
    apply(entries);
    Q_EMIT changed();
    m_kept.clear();
}

void PortListModel::replaceEntries(const std::vector<SharedPortEntry> &entries)
{
    apply(entries);
    Q_EMIT replaced();
}

void PortListModel::keep(int index)
{
    m_kept.emplace_back(this->index(index));
}

int PortListModel::keptIndex(int nth) const
{
    return m_kept.at(static_cast<std::size_t>(nth)).row();
}

std::vector<ListChange> PortListModel::changesTo(const std::vector<SharedPortEntry> &entries) const
{
    std::vector<ListChange> changes = ListChange::between(m_entries, entries);
    if (changes.size() <= mostChanges) {
        return changes;
    }
    std::vector<std::size_t> kept;
    for (const QPersistentModelIndex &index : m_kept) {
        kept.push_back(static_cast<std::size_t>(index.row()));
    }
    std::ranges::sort(kept);
    return ListChange::merged(changes, kept);
}

void PortListModel::apply(const std::vector<SharedPortEntry> &entries)
{
    // From the end, so that the rows of the changes to come stay what they are.
    for (const ListChange &change : std::views::reverse(changesTo(entries))) {
        const int first = static_cast<int>(change.row);
        const int last = static_cast<int>(change.row + change.count) - 1;
        const auto place = m_entries.begin() + first;
        if (change.kind == ListChange::Kind::Removal) {
            beginRemoveRows({}, first, last);
            m_entries.erase(place, place + static_cast<std::ptrdiff_t>(change.count));
            endRemoveRows();
        } else {
            const auto source = entries.begin() + static_cast<std::ptrdiff_t>(change.source);
            beginInsertRows({}, first, last);
            m_entries.insert(place, source, source + static_cast<std::ptrdiff_t>(change.count));
            endInsertRows();
        }
    }
}

} // namespace Tarnwick
