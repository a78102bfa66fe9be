// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AppState.h"
#include "UI/PanelModel.h"
#include "UI/PortRow.h"

#include <QObject>
#include <QQmlEngine>
#include <QStringList>

namespace Tarnwick {

/// A panel on a state of its own for tests and pictures. What it asks of the rest of the program is
/// written down instead of done: "kill 812", "rescan", "print [kill] :5432 terminated", "settings",
/// "quit".
class SamplePanel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Tarnwick::PanelModel *model READ model CONSTANT FINAL)
    Q_PROPERTY(QStringList requests READ requests NOTIFY requestsChanged FINAL)

public:
    explicit SamplePanel(QObject *parent = nullptr);

    [[nodiscard]] PanelModel *model() { return &m_model; }
    [[nodiscard]] QStringList requests() const { return m_requests; }
    Q_INVOKABLE void forgetRequests();

    /// Adds an entry made of @p fields, named as PortEntry names them; those that are missing have
    /// a usual value. Times are seconds ago.
    Q_INVOKABLE void open(const QVariantMap &fields);
    Q_INVOKABLE void close(qint64 pid, qint64 port);
    /// Adds @p count developer's entries, from the port 10000 on.
    Q_INVOKABLE void openMany(int count);
    /// A row of such an entry, in no list.
    Q_INVOKABLE static Tarnwick::PortRow row(const QVariantMap &fields);

    /// What a developer's machine may look like.
    Q_INVOKABLE void openUsual();

Q_SIGNALS:
    void requestsChanged();

private:
    void request(const QString &what);

    AppState m_state;
    PanelModel m_model;
    QStringList m_requests;
};

} // namespace Tarnwick
