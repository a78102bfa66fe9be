// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/SettingsModel.h"

#include "App/AppState.h"
#include "App/Preferences.h"
#include "Core/MainThread.h"

#include <cmath>
#include <utility>

namespace Tarnwick {

SettingsModel::SettingsModel(Preferences &preferences, AppState &state, Monitor monitor,
                             QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_state(state)
    , m_monitor(std::move(monitor))
{
}

bool SettingsModel::showSystemPortsByDefault() const
{
    return m_preferences.showSystemPortsByDefault();
}

void SettingsModel::setShowSystemPortsByDefault(bool show)
{
    setFailure(m_showSystemPortsFailure, m_preferences.setShowSystemPortsByDefault(show));
    m_state.setShowSystemPorts(show);
    Q_EMIT showSystemPortsByDefaultChanged();
}

double SettingsModel::pollInterval() const
{
    return m_preferences.pollInterval().value_or(m_monitor.pollInterval());
}

void SettingsModel::setPollInterval(double seconds)
{
    // Somebody else may have stored it, without the monitor's knowledge.
    if (seconds == pollInterval() && seconds == m_monitor.pollInterval()) {
        return;
    }
    setFailure(m_pollIntervalFailure, m_preferences.setPollInterval(seconds));
    m_monitor.setPollInterval(seconds);
    m_monitor.stop();
    MainThread::post(m_monitor.start);
    Q_EMIT pollIntervalChanged();
}

QString SettingsModel::pollIntervalText() const
{
    return QStringLiteral("%1s").arg(static_cast<int>(std::trunc(pollInterval())));
}

double SettingsModel::shortestPollInterval()
{
    return Preferences::shortestPollInterval;
}

double SettingsModel::longestPollInterval()
{
    return Preferences::longestPollInterval;
}

void SettingsModel::setFailure(QString &failure, bool isStored)
{
    const QString now =
        isStored ? QString()
                 : QStringLiteral("This choice holds until Tarnwick quits, since it could not be "
                                  "saved: %1 cannot be written.")
                       .arg(m_preferences.file());
    if (now != failure) {
        failure = now;
        Q_EMIT failuresChanged();
    }
}

} // namespace Tarnwick
