// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Updater.h"
#include "Platform/linux/PackageKitTransaction.h"
#include "Platform/linux/UpdateSchedule.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

namespace Tarnwick {

/// Updates through PackageKit on the system bus: looks whether there is a newer package of the one
/// that this application came with, and hands it over to be installed, for which the system may ask
/// for a password. It works where PackageKit is and a package holds the executable, and says why
/// not elsewhere. An automatic check asks for what the package manager knows already; the user's
/// lets it fetch its lists of packages first, where that is allowed. Main thread.
class PackageKitUpdater : public QObject, public Updater
{
    Q_OBJECT

public:
    /// How long nothing may be heard of what was asked for. Before an installation the system may
    /// ask for a password, and during one a single script may take its time.
    struct Patience
    {
        std::chrono::milliseconds check = std::chrono::minutes(2); ///< also of the bus
        std::chrono::milliseconds installation = std::chrono::minutes(30);
    };

    struct Setup
    {
        std::filesystem::path executable; ///< of the application
        std::filesystem::path settings;   ///< the file that the schedule is kept in
        UpdateSchedule::Clock now;
        std::chrono::milliseconds rest{}; ///< from start() to the first thing that is done
        Patience patience{};
    };

    explicit PackageKitUpdater(const Setup &setup);

    void start(Handlers handlers) override;
    [[nodiscard]] bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool automatically) override;
    void checkForUpdates() override;
    void cancelCheck() override;
    void installUpdate() override;
    void recordSeen(const std::string &version) override;

    /// Makes the automatic check if one is due, or searches for the own package again where that
    /// has failed; the updater does this by itself every hour.
    void checkIfDue();

private:
    enum class Occasion : std::uint8_t { User, Schedule };
    struct Finding;
    using Self = QPointer<PackageKitUpdater>;
    struct Activity;
    using Running = std::shared_ptr<Activity>;
    using Transaction = PackageKitTransaction;

    [[nodiscard]] static QCoro::Task<Transaction::Outcome> run(Running activity,
                                                               Transaction::Request request);
    [[nodiscard]] static QCoro::Task<Finding> look(Running activity, QString package);
    [[nodiscard]] static QCoro::Task<Finding> lookInLists(Running activity, QString package,
                                                          bool isInteractive);
    static QCoro::Task<void> findPackage(Self self, Running activity, QString executable);
    static QCoro::Task<void> check(Self self, Running activity);
    [[nodiscard]] static QCoro::Task<UpdateResult> update(Running activity, QString update);
    static QCoro::Task<void> install(Self self, Running activity);

    [[nodiscard]] static Running makeActivity(std::chrono::milliseconds patience);
    void openBus(const Running &activity, std::function<void()> opened) const;
    void findPackage();
    void searched(const Transaction::Outcome &outcome);
    void beginCheck(Occasion occasion);
    void conclude(Finding finding, Occasion occasion);
    void setBusy(bool isBusy);

    std::filesystem::path m_executable;
    std::chrono::milliseconds m_rest;
    Patience m_patience;
    UpdateSchedule m_schedule;
    Handlers m_handlers;
    QTimer m_everyHour;
    QString m_package;              ///< the name of ours; empty until it was found
    QString m_updateId;             ///< of the update that is available; empty when none is
    Running m_check;                ///< null while none runs
    bool m_isSearching = false;     ///< for our package
    bool m_hasSearchFailed = false; ///< the last search for it
    bool m_isCheckWanted = false;   ///< by the user, once our package was found
    bool m_isBusy = false;
};

} // namespace Tarnwick
