// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Updater.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace Tarnwick {

/// The platform's updater as views see it: whether there is one, whether a check may start, the
/// choice of automatic checks, the update that is available, and what a check has come to, for the
/// small window that shows it. It has no logic of updates of its own. What the updater reports on
/// other threads arrives here on the main thread. Main thread.
class UpdaterController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY canCheckForUpdatesChanged)
    Q_PROPERTY(bool automaticallyChecksForUpdates READ automaticallyChecksForUpdates WRITE
                   setAutomaticallyChecksForUpdates NOTIFY automaticallyChecksForUpdatesChanged)
    Q_PROPERTY(QString availability READ availability NOTIFY availableChanged)
    Q_PROPERTY(Tarnwick::UpdaterController::Stage stage READ stage NOTIFY stageChanged)
    Q_PROPERTY(QString version READ version NOTIFY stageChanged)
    Q_PROPERTY(QString headline READ headline NOTIFY stageChanged)
    Q_PROPERTY(QString details READ details NOTIFY stageChanged)

public:
    /// What there is to show; the window is there while it is another than None.
    /// Its type is one that the registration of types for QML knows.
    enum class Stage : quint8 {
        None,
        Checking,
        UpToDate,
        Available,
        Held, ///< there is an update that the system does not install
        Installing,
        Installed,
        CheckFailed,
        InstallationFailed,
        Unavailable, ///< no updater works for this copy
    };
    Q_ENUM(Stage)

    /// Why the window shows something.
    enum class Showing : std::uint8_t {
        ForUser, ///< who wants to see it now: it comes forward
        Unasked, ///< it takes no keyboard from anybody
    };

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

    /// That there is an update to install, in one sentence, whether or not the window shows it;
    /// empty when there is none.
    [[nodiscard]] QString availability() const;

    [[nodiscard]] Stage stage() const { return m_stage; }
    /// Of the update that is available, held back, being installed or installed; empty otherwise.
    [[nodiscard]] const QString &version() const { return m_version; }
    /// The stage in one sentence.
    [[nodiscard]] QString headline() const;
    /// What is new in an update, or why the stage is what it is; may be empty.
    [[nodiscard]] const QString &details() const { return m_details; }

    /// The user's check; while a check or an installation runs, that is shown instead. Without a
    /// working updater it comes to why there is none.
    Q_INVOKABLE void checkForUpdates();
    /// Shows the update that is available; nothing when none is.
    Q_INVOKABLE void showUpdate() { showUpdate(Showing::ForUser); }
    void showUpdate(Showing showing);
    /// The user has seen that the update is available: it is announced no more.
    void markSeen();
    /// Installs what is available.
    Q_INVOKABLE void installUpdate();
    /// The user has closed the window: there is nothing to show until something happens. A check
    /// whose course it showed ends.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void isAvailableChanged();
    void canCheckForUpdatesChanged();
    void automaticallyChecksForUpdatesChanged();
    void availableChanged();
    void stageChanged();
    /// The user has asked for what the window shows; before stageChanged().
    void askedFor();
    /// An automatic check has found an update that the user has not seen.
    void updateFound();

private:
    struct Update
    {
        QString version;
        QString details;

        friend bool operator==(const Update &, const Update &) = default;
    };

    void setFound();
    void setCanCheckForUpdates(bool can);
    void take(const UpdateResult &result);
    void keepAvailable(const UpdateResult &result);
    void show(Stage stage, const QString &version, const QString &details);

    std::unique_ptr<Updater> m_updater;
    bool m_isAvailable = false;
    bool m_canCheckForUpdates = true;
    Stage m_stage = Stage::None;
    QString m_version;
    QString m_details;
    std::optional<Update> m_available;   ///< also while the window is closed
    std::optional<QString> m_installing; ///< the version, also while the window is closed
};

} // namespace Tarnwick
