// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdateAnnouncement.h"

#include "App/UpdaterController.h"

namespace Tarnwick {

UpdateAnnouncement::UpdateAnnouncement(UpdaterController &controller, Notifier &notifier)
    : m_controller(controller)
    , m_notifier(notifier)
{
    connect(&controller, &UpdaterController::updateFound, this, &UpdateAnnouncement::announce);
    connect(&controller, &UpdaterController::stageChanged, this,
            &UpdateAnnouncement::withdrawIfNeedless);
    connect(&controller, &UpdaterController::availableChanged, this,
            &UpdateAnnouncement::withdrawIfNeedless);
}

void UpdateAnnouncement::announce()
{
    m_notifier.show(
        {.title = m_controller.availability(),
         .text = QStringLiteral("Tarnwick's settings show what is new and install it."),
         .activateLabel = QStringLiteral("Show")},
        {.activated = [this] { m_controller.showUpdate(UpdaterController::Showing::ForUser); },
         .dismissed = [this] { m_controller.markSeen(); },
         .failed = [this] { m_controller.showUpdate(UpdaterController::Showing::Unasked); }});
}

void UpdateAnnouncement::withdrawIfNeedless()
{
    if (m_controller.availability().isEmpty() ||
        m_controller.stage() == UpdaterController::Stage::Available) {
        m_notifier.withdraw();
    }
}

} // namespace Tarnwick
