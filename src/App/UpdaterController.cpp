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

UpdaterController::Stage stageOf(UpdateResult::Kind kind)
{
    switch (kind) {
    case UpdateResult::Kind::UpToDate:
        return UpdaterController::Stage::UpToDate;
    case UpdateResult::Kind::Available:
        return UpdaterController::Stage::Available;
    case UpdateResult::Kind::Installed:
        return UpdaterController::Stage::Installed;
    case UpdateResult::Kind::Failed:
        break;
    }
    return UpdaterController::Stage::Failed;
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

void UpdaterController::checkForUpdates()
{
    if (!m_isAvailable) {
        return;
    }
    if (m_installing) {
        show(Stage::Installing, *m_installing, QString());
        return;
    }
    show(Stage::Checking, QString(), QString());
    m_updater->checkForUpdates();
}

void UpdaterController::installUpdate()
{
    if (m_stage == Stage::Available) {
        m_installing = m_version;
        show(Stage::Installing, *m_installing, QString());
        m_updater->installUpdate();
    }
}

void UpdaterController::dismiss()
{
    if (m_stage == Stage::Checking) {
        m_updater->cancelCheck();
    }
    show(Stage::None, QString(), QString());
}

void UpdaterController::take(const UpdateResult &result)
{
    using Kind = UpdateResult::Kind;
    const bool isOfInstallation = std::exchange(m_installing, std::nullopt).has_value();
    // Whoever has closed the window meanwhile wants to know of news only: of an update, and of what
    // became of its installation.
    const bool isNews = result.kind == Kind::Available || isOfInstallation;
    if (m_stage == Stage::None && !isNews) {
        return;
    }
    show(stageOf(result.kind), QString::fromStdString(result.version),
         QString::fromStdString(result.text));
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
        return QStringLiteral("Tarnwick %1 is available.").arg(m_version);
    case Stage::Installing:
        return QStringLiteral("Installing Tarnwick %1…").arg(m_version);
    case Stage::Installed:
        return QStringLiteral("Tarnwick %1 is installed. It takes effect with the next start.")
            .arg(m_version);
    case Stage::Failed:
        return QStringLiteral("The update could not be completed.");
    }
    return {};
}

} // namespace Tarnwick
