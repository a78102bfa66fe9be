// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QTimer>

namespace Tarnwick {

/// The one clock of all uptimes that are shown: it ticks once a second while it runs, and once as
/// it begins to. Times are in milliseconds since 1970. Main thread.
class UptimeClock : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool running READ isRunning WRITE setRunning NOTIFY runningChanged FINAL)

public:
    explicit UptimeClock(QObject *parent = nullptr);

    [[nodiscard]] bool isRunning() const { return m_timer.isActive(); }
    void setRunning(bool running);

    /// The time at this moment.
    Q_INVOKABLE static double now();

    /// How long something that began at @p since has lasted at @p now.
    Q_INVOKABLE static QString format(double since, double now);

Q_SIGNALS:
    void runningChanged();
    void ticked(double now);

private:
    void tick();

    QTimer m_timer;
};

} // namespace Tarnwick
