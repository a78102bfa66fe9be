// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Models/PortEntry.h"
#include "UI/ListChange.h"
#include "UI/PortRow.h"

#include <QAbstractListModel>
#include <QPersistentModelIndex>
#include <QQmlEngine>

#include <cstddef>
#include <string>
#include <vector>

namespace Tarnwick {

/// The rows of the list, by port. An entry's `id` is the identity of its row: a new list is applied
/// as the insertions and removals that lead to it, so that the rows that stay are not touched.
/// Where these are too many to be worth their while, only those stay that somebody looks at. Main
/// thread.
class PortListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("it belongs to the panel")

public:
    enum Role { EntryRole = Qt::UserRole };

    /// Above this number of separate insertions and removals they are merged: each costs time that
    /// grows with those before it.
    static constexpr std::size_t mostChanges = 100;

    /// @p home is the folder that rows write "~".
    explicit PortListModel(std::string home, QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// Shows @p entries, which are in the order of their ports, as the news of the same list.
    void setEntries(const std::vector<SharedPortEntry> &entries);

    /// Shows @p entries, in that order too, as another list: that of another filter or search.
    void replaceEntries(const std::vector<SharedPortEntry> &entries);

    /// In answer to aboutToChange(): somebody looks at the row at @p index.
    Q_INVOKABLE void keep(int index);

    /// In answer to changed(): where the row is now that keep() was called for as the @p nth one
    /// from 0, or -1 when it is gone.
    Q_INVOKABLE [[nodiscard]] int keptIndex(int nth) const;

Q_SIGNALS:
    /// Around all changes that news bring.
    void aboutToChange();
    void changed();
    /// After all changes that another list brings.
    void replaced();

private:
    void apply(const std::vector<SharedPortEntry> &entries);
    [[nodiscard]] std::vector<ListChange>
    changesTo(const std::vector<SharedPortEntry> &entries) const;

    std::vector<SharedPortEntry> m_entries;
    std::vector<QPersistentModelIndex> m_kept;
    std::string m_home;
};

} // namespace Tarnwick
