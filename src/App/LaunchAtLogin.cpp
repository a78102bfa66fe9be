// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/LaunchAtLogin.h"

namespace Tarnwick {

LaunchAtLogin::LaunchAtLogin(LoginItem &item, QObject *parent)
    : QObject(parent)
    , m_item(item)
{
}

void LaunchAtLogin::appear()
{
    showStatus();
}

void LaunchAtLogin::setEnabled(bool enabled)
{
    if (enabled == m_isEnabled) {
        return;
    }
    show(enabled);
    const LoginItem::Failure failure =
        enabled ? m_item.registerApplication() : m_item.unregisterApplication();
    setErrorMessage(failure ? QString::fromStdString(*failure) : QString());
    if (failure) {
        showStatus();
    }
}

void LaunchAtLogin::showStatus()
{
    show(m_item.status() == LoginItem::Status::Enabled);
}

void LaunchAtLogin::show(bool enabled)
{
    if (enabled != m_isEnabled) {
        m_isEnabled = enabled;
        Q_EMIT isEnabledChanged();
    }
}

void LaunchAtLogin::setErrorMessage(const QString &message)
{
    if (message != m_errorMessage) {
        m_errorMessage = message;
        Q_EMIT errorMessageChanged();
    }
}

} // namespace Tarnwick
