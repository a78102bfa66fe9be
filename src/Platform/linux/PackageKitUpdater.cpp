// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitUpdater.h"

#include "Core/MainThread.h"
#include "Platform/linux/PackageKitFailure.h"
#include "Platform/linux/PackageKitRequests.h"
#include "Platform/linux/PackageKitResults.h"
#include "Platform/linux/UserFolders.h"

#include <QCoreApplication>
#include <QCoroSignal>
#include <QFile>
#include <QScopedPointer>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

namespace Tarnwick {

using namespace PackageKitResults;

namespace {

constexpr std::chrono::hours pollingPeriod{1};

/// The start of the application has the machine for itself meanwhile.
constexpr std::chrono::milliseconds restAfterLaunch{500};

/// The folders below which package managers put programs. Elsewhere the daemon, which is not a
/// small one, need not be woken to ask.
constexpr std::array<std::string_view, 2> packagedFolders{"/usr/", "/opt/"};

bool mayBePackaged(const std::filesystem::path &executable)
{
    return std::any_of(
        packagedFolders.begin(), packagedFolders.end(),
        [text = executable.string()](std::string_view folder) { return text.starts_with(folder); });
}

} // namespace

struct PackageKitUpdater::Finding
{
    UpdateResult result;
    QString updateId; ///< of an update that is available
};

/// A search for the own package, a check or an installation, with a link of its own.
struct PackageKitUpdater::Activity
{
    Occasion occasion = Occasion::Schedule;
    std::chrono::milliseconds patience{};
    std::shared_ptr<BusLink> link; ///< null when there is none, for the reason in `failure`
    QString failure;
    QPointer<Transaction> transaction; ///< that runs
    bool isCancelled = false;
};

std::unique_ptr<Updater> Updater::forThisApplication()
{
    return std::make_unique<PackageKitUpdater>(PackageKitUpdater::Setup{
        .executable = QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString(),
        .settings = UserFolders::state() / "tarnwick" / "updater.conf",
        .now = &QDateTime::currentDateTimeUtc,
        .rest = restAfterLaunch});
}

PackageKitUpdater::PackageKitUpdater(const Setup &setup)
    : m_executable(setup.executable)
    , m_rest(setup.rest)
    , m_patience(setup.patience)
    , m_schedule(setup.settings, setup.now)
{
    m_everyHour.setTimerType(Qt::VeryCoarseTimer);
    m_everyHour.setInterval(pollingPeriod);
    connect(&m_everyHour, &QTimer::timeout, this, &PackageKitUpdater::checkIfDue);
}

void PackageKitUpdater::start(Handlers handlers)
{
    m_handlers = std::move(handlers);
    m_handlers.canCheckForUpdates(true);
    if (!mayBePackaged(m_executable)) {
        return;
    }
    QTimer::singleShot(m_rest, this, qOverload<>(&PackageKitUpdater::findPackage));
}

void PackageKitUpdater::findPackage()
{
    if (m_isSearching || !m_package.isEmpty()) {
        return;
    }
    m_isSearching = true;
    const Running search = makeActivity(m_patience.check);
    openBus(search,
            [self = Self(this), search, executable = QFile::decodeName(m_executable.c_str())] {
                findPackage(self, search, executable);
            });
}

PackageKitUpdater::Running PackageKitUpdater::makeActivity(std::chrono::milliseconds patience)
{
    Running activity = std::make_shared<Activity>();
    activity->patience = patience;
    return activity;
}

void PackageKitUpdater::openBus(const Running &activity, std::function<void()> opened) const
{
    BusLink::openSystem(m_patience.check,
                        [activity, opened = std::move(opened)](std::shared_ptr<BusLink> link,
                                                               const QString &failure) {
                            activity->link = std::move(link);
                            activity->failure = failure;
                            opened();
                        });
}

QCoro::Task<void> PackageKitUpdater::findPackage(Self self, Running activity, QString executable)
{
    const Transaction::Outcome outcome =
        co_await run(std::move(activity), PackageKitRequests::searchFiles(executable));
    if (!self) {
        co_return;
    }
    self->searched(outcome);
}

void PackageKitUpdater::searched(const Transaction::Outcome &outcome)
{
    m_isSearching = false;
    m_hasSearchFailed = outcome.failure.has_value();
    const bool isCheckWanted = std::exchange(m_isCheckWanted, false);
    if (outcome.failure || outcome.packages.empty()) {
        // What has no package will have none in an hour either.
        outcome.failure ? m_everyHour.start() : m_everyHour.stop();
        if (isCheckWanted) {
            m_handlers.ended(outcome.failure ? unavailable(*outcome.failure)
                                             : notPackaged(m_executable));
        }
        return;
    }
    m_package = nameIn(outcome.packages.front().id);
    m_handlers.found();
    m_everyHour.start();
    if (isCheckWanted) {
        beginCheck(Occasion::User);
    } else if (m_schedule.isDueAtStart()) {
        beginCheck(Occasion::Schedule);
    }
}

bool PackageKitUpdater::automaticallyChecksForUpdates() const
{
    return m_schedule.isAutomatic();
}

void PackageKitUpdater::setAutomaticallyChecksForUpdates(bool automatically)
{
    m_schedule.setAutomatic(automatically);
    checkIfDue();
}

void PackageKitUpdater::checkForUpdates()
{
    if (!mayBePackaged(m_executable)) {
        m_handlers.ended(notPackaged(m_executable));
        return;
    }
    if (m_package.isEmpty()) {
        m_isCheckWanted = true;
        findPackage();
        return;
    }
    if (m_check) {
        m_check->occasion = Occasion::User; // who wants to know what comes of it
        return;
    }
    beginCheck(Occasion::User);
}

void PackageKitUpdater::cancelCheck()
{
    m_isCheckWanted = false;
    if (!m_check) {
        return;
    }
    const Running check = std::exchange(m_check, nullptr);
    check->isCancelled = true;
    if (check->transaction) {
        check->transaction->cancel();
    }
    setBusy(false);
}

void PackageKitUpdater::recordSeen(const std::string &version)
{
    m_schedule.recordSeen(QString::fromStdString(version));
}

void PackageKitUpdater::checkIfDue()
{
    if (std::exchange(m_hasSearchFailed, false)) {
        findPackage();
        return;
    }
    if (m_schedule.isDue()) {
        beginCheck(Occasion::Schedule);
    }
}

void PackageKitUpdater::beginCheck(Occasion occasion)
{
    if (m_isBusy || m_package.isEmpty()) {
        return;
    }
    setBusy(true);
    m_check = makeActivity(m_patience.check);
    m_check->occasion = occasion;
    openBus(m_check, [self = Self(this), activity = m_check] {
        if (self && !activity->isCancelled) {
            check(self, activity);
        }
    });
}

QCoro::Task<void> PackageKitUpdater::check(Self self, Running activity)
{
    Finding finding;
    Occasion occasion = activity->occasion;
    do {
        // Who asks during an automatic check wants more than what was known before.
        occasion = activity->occasion;
        finding = co_await look(activity, self->m_package);
        if (!self || activity->isCancelled) {
            co_return;
        }
    } while (occasion != activity->occasion);
    self->m_check.reset();
    self->setBusy(false);
    self->conclude(finding, occasion);
}

void PackageKitUpdater::conclude(Finding finding, Occasion occasion)
{
    // What a failed check would have found, nobody knows: what was reported can be installed still.
    const bool hasSucceeded = finding.result.kind != UpdateResult::Kind::Failed;
    const bool wasOffered = !m_updateId.isEmpty();
    if (hasSucceeded) {
        m_updateId = finding.updateId;
        m_schedule.recordCheck(versionIn(m_updateId));
        finding.result.isSeen = m_schedule.isSeen(versionIn(m_updateId));
    }
    const bool isNews = hasSucceeded && (wasOffered || !m_updateId.isEmpty());
    if (isNews || occasion == Occasion::User) {
        m_handlers.ended(finding.result);
    }
}

QCoro::Task<PackageKitUpdater::Finding> PackageKitUpdater::look(Running activity, QString package)
{
    const bool isInteractive = activity->occasion == Occasion::User;
    Transaction::Outcome refreshed;
    if (isInteractive) {
        refreshed = co_await run(activity, PackageKitRequests::refreshCache());
        // Who may not refresh the lists may still read them.
        if (refreshed.failure && !refreshed.isRefused) {
            co_return Finding{failed(*refreshed.failure), {}};
        }
    }
    Finding finding = co_await lookInLists(std::move(activity), std::move(package), isInteractive);
    if (refreshed.failure && finding.result.kind != UpdateResult::Kind::Failed) {
        finding.result = withOldLists(std::move(finding.result), *refreshed.failure);
    }
    co_return finding;
}

QCoro::Task<PackageKitUpdater::Finding>
PackageKitUpdater::lookInLists(Running activity, QString package, bool isInteractive)
{
    const Transaction::Outcome updates =
        co_await run(activity, PackageKitRequests::getUpdates(isInteractive));
    if (updates.failure) {
        co_return Finding{failed(*updates.failure), {}};
    }
    if (const Package *const update = updateOf(package, updates, Choice::Installable)) {
        const Transaction::Outcome details =
            co_await run(activity, PackageKitRequests::getUpdateDetail(update->id, isInteractive));
        co_return Finding{available(update->id, details), update->id};
    }
    if (const Package *const update = updateOf(package, updates, Choice::HeldBack)) {
        co_return Finding{held(update->id), {}};
    }
    co_return Finding{};
}

void PackageKitUpdater::installUpdate()
{
    if (m_isBusy) {
        m_handlers.ended(failed("PackageKit is busy with another request. Try again later."));
        return;
    }
    if (m_updateId.isEmpty()) {
        m_handlers.ended(failed("There is no update to install any more."));
        return;
    }
    setBusy(true);
    const Running installation = makeActivity(m_patience.installation);
    openBus(installation, [self = Self(this), installation] {
        if (self) {
            install(self, installation);
        }
    });
}

QCoro::Task<void> PackageKitUpdater::install(Self self, Running activity)
{
    const UpdateResult result = co_await update(std::move(activity), self->m_updateId);
    if (!self) {
        co_return;
    }
    if (result.kind == UpdateResult::Kind::Installed) {
        self->m_updateId.clear();
        self->m_schedule.recordCheck({});
    }
    self->setBusy(false);
    self->m_handlers.ended(result);
}

QCoro::Task<UpdateResult> PackageKitUpdater::update(Running activity, QString update)
{
    const Transaction::Outcome updated =
        co_await run(activity, PackageKitRequests::updatePackages(update));
    if (updated.failure) {
        co_return failed(*updated.failure);
    }
    // The service may end in success when the package manager below it could do nothing.
    const Transaction::Outcome now =
        co_await run(activity, PackageKitRequests::resolveInstalled(nameIn(update)));
    if (!now.failure && !isInstalled(update, now)) {
        co_return failed("PackageKit did not install the update");
    }
    co_return installed(update);
}

QCoro::Task<PackageKitTransaction::Outcome> PackageKitUpdater::run(Running activity,
                                                                   Transaction::Request request)
{
    if (!activity->link) {
        Transaction::Outcome outcome;
        outcome.failure = PackageKitFailure::noBus(activity->failure);
        co_return outcome;
    }
    request.patience = activity->patience;
    // It is the transaction that calls when it has ended, so it cannot go at once.
    const QScopedPointer<Transaction, QScopedPointerDeleteLater> transaction(
        std::make_unique<Transaction>(activity->link, std::move(request)).release());
    activity->transaction = transaction.get();
    MainThread::post([started = activity->transaction] {
        if (started) {
            started->start();
        }
    });
    Transaction::Outcome outcome = co_await qCoro(transaction.get(), &Transaction::ended);
    co_return outcome;
}

void PackageKitUpdater::setBusy(bool isBusy)
{
    m_isBusy = isBusy;
    m_handlers.canCheckForUpdates(!isBusy);
}

} // namespace Tarnwick
