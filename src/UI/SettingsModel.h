// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include <functional>

namespace Tarnwick {

class AppState;
class Preferences;

/// The preferences as the settings edit them: every change is stored, and applied to the running
/// application at once. Main thread.
class SettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("it needs the services of the application")
    Q_PROPERTY(bool showSystemPortsByDefault READ showSystemPortsByDefault WRITE
                   setShowSystemPortsByDefault NOTIFY showSystemPortsByDefaultChanged FINAL)
    Q_PROPERTY(
        QString showSystemPortsFailure READ showSystemPortsFailure NOTIFY failuresChanged FINAL)
    Q_PROPERTY(QString pollIntervalFailure READ pollIntervalFailure NOTIFY failuresChanged FINAL)
    Q_PROPERTY(double pollInterval READ pollInterval WRITE setPollInterval NOTIFY
                   pollIntervalChanged FINAL)
    Q_PROPERTY(QString pollIntervalText READ pollIntervalText NOTIFY pollIntervalChanged FINAL)
    Q_PROPERTY(double shortestPollInterval READ shortestPollInterval CONSTANT FINAL)
    Q_PROPERTY(double longestPollInterval READ longestPollInterval CONSTANT FINAL)
    Q_PROPERTY(double pollIntervalStep READ pollIntervalStep CONSTANT FINAL)

public:
    /// The monitor, as far as a change of the interval concerns it.
    struct Monitor
    {
        std::function<double()> pollInterval;
        std::function<void(double seconds)> setPollInterval;
        std::function<void()> stop;
        std::function<void()> start; ///< called from the event loop; may be called after this ended
    };

    /// @p preferences and @p state outlive the model.
    SettingsModel(Preferences &preferences, AppState &state, Monitor monitor,
                  QObject *parent = nullptr);

    [[nodiscard]] bool showSystemPortsByDefault() const;
    void setShowSystemPortsByDefault(bool show);

    /// In seconds: what is stored, or, when that is nothing or not allowed, what the monitor has.
    [[nodiscard]] double pollInterval() const;
    /// Stores the interval, and starts the monitor anew with it: it scans at once.
    void setPollInterval(double seconds);
    /// "10s": whole seconds, cut and not rounded.
    [[nodiscard]] QString pollIntervalText() const;

    // What the interval may be, in seconds.
    [[nodiscard]] static double shortestPollInterval();
    [[nodiscard]] static double longestPollInterval();
    [[nodiscard]] static double pollIntervalStep() { return 1.0; }

    // Why the last choice could not be stored, in a sentence; empty when it was.
    [[nodiscard]] const QString &showSystemPortsFailure() const { return m_showSystemPortsFailure; }
    [[nodiscard]] const QString &pollIntervalFailure() const { return m_pollIntervalFailure; }

Q_SIGNALS:
    void showSystemPortsByDefaultChanged();
    void pollIntervalChanged();
    void failuresChanged();

private:
    void setFailure(QString &failure, bool isStored);

    Preferences &m_preferences;
    AppState &m_state;
    Monitor m_monitor;
    QString m_showSystemPortsFailure;
    QString m_pollIntervalFailure;
};

} // namespace Tarnwick
