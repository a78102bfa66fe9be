// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LoginItem.h"

#include <QObject>
#include <QString>

namespace Tarnwick {

/// What the toggle "Launch at login" shows and does. What it shows is read from the system when the
/// toggle appears, and after a failure; reading never registers anything. Failures are not logged:
/// their text under the toggle is the only report. Main thread.
class LaunchAtLogin : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY isEnabledChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    /// @p item outlives this.
    explicit LaunchAtLogin(LoginItem &item, QObject *parent = nullptr);

    /// That of the program, made with the first call.
    [[nodiscard]] static LaunchAtLogin &shared();

    /// Off until appear().
    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    /// The user's change: registers or unregisters the application, and snaps back to what the
    /// system says when that fails. Nothing when the toggle shows @p enabled already.
    void setEnabled(bool enabled);

    /// The text of the last failure, in the system's words, until a change succeeds; empty without.
    [[nodiscard]] const QString &errorMessage() const { return m_errorMessage; }

    /// To be called each time the toggle comes into view.
    Q_INVOKABLE void appear();

Q_SIGNALS:
    void isEnabledChanged();
    void errorMessageChanged();

private:
    void show(bool enabled);
    void showStatus();
    void setErrorMessage(const QString &message);

    LoginItem &m_item;
    bool m_isEnabled = false;
    QString m_errorMessage;
};

} // namespace Tarnwick
