// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Notifier.h"

#include <QObject>

namespace Tarnwick {

class UpdaterController;

/// Announces an update that an automatic check has found, by a notification of the desktop, or by
/// the update window without the keyboard where the desktop shows none. Main thread.
class UpdateAnnouncement : public QObject
{
    Q_OBJECT

public:
    /// Both outlive this.
    UpdateAnnouncement(UpdaterController &controller, Notifier &notifier);

private:
    void announce();
    void withdrawIfNeedless();

    UpdaterController &m_controller;
    Notifier &m_notifier;
};

} // namespace Tarnwick
