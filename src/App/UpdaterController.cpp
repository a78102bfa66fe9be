// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/UpdaterController.h"

#include "Core/MainThread.h"
#include "Core/NeverDestroyed.h"
#include "Models/Precondition.h"

#include <QPointer>

#include <utility>

namespace Tarnwick {

namespace {

using Stage = UpdaterController::Stage;
using Kind = UpdateResult::Kind;

Stage stageOf(Kind kind, bool isOfInstallation)
{
    switch (kind) {
    case Kind::UpToDate:
        return Stage::UpToDate;
    case Kind::Available:
        return Stage::Available;
    case Kind::Held:
        return Stage::Held;
    case Kind::Installed:
        return Stage::Installed;
    case Kind::Unavailable:
        return Stage::Unavailable;
    case Kind::Failed:
        break;
    }
    return isOfInstallation ? Stage::InstallationFailed : Stage::CheckFailed;
}

QString availabilityOf(const QString &version)
{
    return QStringLiteral("Tarnwick %1 is available.").arg(version);
}

} // namespace

UpdaterController &UpdaterController::shared()
{
    static NeverDestroyed<UpdaterController> controller(Updater::forThisApplication());
    return *controller;
}

UpdaterController::UpdaterController(std::unique_ptr<Updater> updater, QObject *parent)
    : QObject(parent)
    , m_updater(std::move(updater))
{
    if (!m_updater) {
        preconditionFailure("an update controller must have an updater");
    }
    // A QPointer is made on this object's own thread and asked there only.
    const auto onMainThread = [self = QPointer(this)](auto action) {
        MainThread::post([self, action = std::move(action)] {
            if (self) {
                action(*self);
            }
        });
    };
    m_updater->start(
        {.found = [onMainThread] { onMainThread([](auto &self) { self.setFound(); }); },
         .canCheckForUpdates =
             [onMainThread](bool can) {
                 onMainThread([can](auto &self) { self.setCanCheckForUpdates(can); });
             },
         .ended =
             [onMainThread](const UpdateResult &result) {
                 onMainThread([result](auto &self) { self.take(result); });
             }});
}

UpdaterController::~UpdaterController() = default;

void UpdaterController::setFound()
{
    m_isAvailable = true;
    Q_EMIT isAvailableChanged();
    Q_EMIT automaticallyChecksForUpdatesChanged();
}

void UpdaterController::setCanCheckForUpdates(bool can)
{
    if (can != m_canCheckForUpdates) {
        m_canCheckForUpdates = can;
        Q_EMIT canCheckForUpdatesChanged();
    }
}

bool UpdaterController::automaticallyChecksForUpdates() const
{
    return m_isAvailable && m_updater->automaticallyChecksForUpdates();
}

void UpdaterController::setAutomaticallyChecksForUpdates(bool automatically)
{
    if (m_isAvailable && automatically != automaticallyChecksForUpdates()) {
        m_updater->setAutomaticallyChecksForUpdates(automatically);
        Q_EMIT automaticallyChecksForUpdatesChanged();
    }
}

QString UpdaterController::availability() const
{
    return m_available ? availabilityOf(m_available->version) : QString();
}

void UpdaterController::checkForUpdates()
{
    Q_EMIT askedFor();
    if (m_installing) {
        show(Stage::Installing, *m_installing, QString());
        return;
    }
    show(Stage::Checking, QString(), QString());
    m_updater->checkForUpdates();
}

void UpdaterController::showUpdate(Showing showing)
{
    if (!m_available || m_installing) {
        return;
    }
    if (showing == Showing::ForUser) {
        Q_EMIT askedFor();
    }
    if (m_stage == Stage::Checking) {
        return; // which is about to say the same
    }
    show(Stage::Available, m_available->version, m_available->details);
}

void UpdaterController::markSeen()
{
    if (m_available) {
        m_updater->recordSeen(m_available->version.toStdString());
    }
}

void UpdaterController::installUpdate()
{
    if (m_stage == Stage::Available) {
        markSeen();
        m_installing = m_version;
        show(Stage::Installing, *m_installing, QString());
        m_updater->installUpdate();
    }
}

void UpdaterController::dismiss()
{
    if (m_stage == Stage::Checking) {
        m_updater->cancelCheck();
    } else if (m_stage == Stage::Available) {
        markSeen();
    }
    show(Stage::None, QString(), QString());
}

void UpdaterController::take(const UpdateResult &result)
{
    keepAvailable(result);
    const bool isOfInstallation = std::exchange(m_installing, std::nullopt).has_value();
    // Nobody waits for the result of an automatic check, nor for that of a check whose window was
    // closed. What became of an installation is shown in any case.
    const bool isAwaited = m_stage == Stage::Checking || isOfInstallation;
    if (!isAwaited && result.kind == Kind::Available && !result.isSeen) {
        Q_EMIT updateFound();
    }
    if (m_stage != Stage::None || isOfInstallation) {
        show(stageOf(result.kind, isOfInstallation), QString::fromStdString(result.version),
             QString::fromStdString(result.text));
    }
}

void UpdaterController::keepAvailable(const UpdateResult &result)
{
    if (result.kind == Kind::Failed || result.kind == Kind::Unavailable) {
        return; // which says nothing of what is available
    }
    std::optional<Update> available;
    if (result.kind == Kind::Available) {
        available = {QString::fromStdString(result.version), QString::fromStdString(result.text)};
    }
    if (available != m_available) {
        m_available = std::move(available);
        Q_EMIT availableChanged();
    }
}

void UpdaterController::show(Stage stage, const QString &version, const QString &details)
{
    m_stage = stage;
    m_version = version;
    m_details = details;
    Q_EMIT stageChanged();
}

QString UpdaterController::headline() const
{
    switch (m_stage) {
    case Stage::None:
        break;
    case Stage::Checking:
        return QStringLiteral("Checking for updates…");
    case Stage::UpToDate:
        return QStringLiteral("Tarnwick is up to date.");
    case Stage::Available:
        return availabilityOf(m_version);
    case Stage::Held:
        return QStringLiteral("Tarnwick %1 is held back.").arg(m_version);
    case Stage::Installing:
        return QStringLiteral("Installing Tarnwick %1…").arg(m_version);
    case Stage::Installed:
        return QStringLiteral("Tarnwick %1 is installed. It takes effect with the next start.")
            .arg(m_version);
    case Stage::CheckFailed:
        return QStringLiteral("The check for updates failed.");
    case Stage::InstallationFailed:
        return QStringLiteral("The update could not be completed.");
    case Stage::Unavailable:
        return QStringLiteral("Tarnwick cannot check for updates here.");
    }
    return {};
}

} // namespace Tarnwick
