// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Updater.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace Tarnwick {

/// The platform's updater as views see it: whether there is one, whether a check may start, the
/// choice of automatic checks, and what a check has come to, for the small window that shows it. It
/// has no logic of updates of its own. What the updater reports on other threads arrives here on
/// the main thread. Main thread.
class UpdaterController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY canCheckForUpdatesChanged)
    Q_PROPERTY(bool automaticallyChecksForUpdates READ automaticallyChecksForUpdates WRITE
                   setAutomaticallyChecksForUpdates NOTIFY automaticallyChecksForUpdatesChanged)
    Q_PROPERTY(Tarnwick::UpdaterController::Stage stage READ stage NOTIFY stageChanged)
    Q_PROPERTY(QString version READ version NOTIFY stageChanged)
    Q_PROPERTY(QString headline READ headline NOTIFY stageChanged)
    Q_PROPERTY(QString details READ details NOTIFY stageChanged)

public:
    /// What there is to show; the window is there while it is another than None.
    enum class Stage : std::uint8_t {
        None,
        Checking,
        UpToDate,
        Available,
        Installing,
        Installed,
        Failed,
    };
    Q_ENUM(Stage)

    /// Starts @p updater.
    explicit UpdaterController(std::unique_ptr<Updater> updater, QObject *parent = nullptr);
    ~UpdaterController() override;

    /// The one controller of the program, made with the first call.
    [[nodiscard]] static UpdaterController &shared();

    /// Whether the platform has an updater that works for this copy of the application.
    [[nodiscard]] bool isAvailable() const { return m_isAvailable; }

    /// True until the updater has said otherwise.
    [[nodiscard]] bool canCheckForUpdates() const { return m_canCheckForUpdates; }

    /// False without a working updater.
    [[nodiscard]] bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool automatically);

    [[nodiscard]] Stage stage() const { return m_stage; }
    /// Of the update that is available, being installed or installed; empty otherwise.
    [[nodiscard]] const QString &version() const { return m_version; }
    /// The stage in one sentence.
    [[nodiscard]] QString headline() const;
    /// What is new in an update, or the updater's words on a failure; empty otherwise.
    [[nodiscard]] const QString &details() const { return m_details; }

    /// The user's check; while a check or an installation runs, that is shown instead. Nothing
    /// without a working updater.
    Q_INVOKABLE void checkForUpdates();
    /// Installs what is available.
    Q_INVOKABLE void installUpdate();
    /// The user has closed the window: there is nothing to show until something happens. A check
    /// whose course it showed ends.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void isAvailableChanged();
    void canCheckForUpdatesChanged();
    void automaticallyChecksForUpdatesChanged();
    void stageChanged();

private:
    void setFound();
    void setCanCheckForUpdates(bool can);
    void take(const UpdateResult &result);
    void show(Stage stage, const QString &version, const QString &details);

    std::unique_ptr<Updater> m_updater;
    bool m_isAvailable = false;
    bool m_canCheckForUpdates = true;
    Stage m_stage = Stage::None;
    QString m_version;
    QString m_details;
    std::optional<QString> m_installing; ///< the version, also while the window is closed
};

} // namespace Tarnwick
