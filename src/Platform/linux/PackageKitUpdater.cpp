// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitUpdater.h"

#include "Core/MainThread.h"
#include "Platform/linux/PackageKitRequests.h"
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
#include <vector>

namespace Tarnwick {

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

QString nameIn(const QString &packageId)
{
    return packageId.section(u';', 0, 0);
}

QString versionIn(const QString &packageId)
{
    return packageId.section(u';', 1, 1);
}

UpdateResult failed(const std::string &words)
{
    return {.kind = UpdateResult::Kind::Failed, .version = {}, .text = words};
}

UpdateResult available(const QString &update, const PackageKitTransaction::Outcome &details)
{
    // Without the text, which is an extra, the update is as good.
    const QString text = details.updateText.isEmpty() ? details.changeLog : details.updateText;
    return {.kind = UpdateResult::Kind::Available,
            .version = versionIn(update).toStdString(),
            .text = text.trimmed().toStdString()};
}

UpdateResult installed(const QString &update)
{
    return {.kind = UpdateResult::Kind::Installed,
            .version = versionIn(update).toStdString(),
            .text = {}};
}

bool hasVersion(const std::vector<PackageKitTransaction::Package> &packages, const QString &version)
{
    return std::any_of(packages.begin(), packages.end(),
                       [&version](const PackageKitTransaction::Package &one) {
                           return versionIn(one.id) == version;
                       });
}

/// The update of @p package among @p outcome's; empty when there is none.
QString updateOf(const QString &package, const PackageKitTransaction::Outcome &outcome)
{
    const auto &packages = outcome.packages;
    const auto update = std::find_if(packages.begin(), packages.end(),
                                     [&package](const PackageKitTransaction::Package &one) {
                                         return !one.isBlocked && nameIn(one.id) == package;
                                     });
    return update == packages.end() ? QString() : update->id;
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
    self->m_hasSearchFailed = outcome.failure.has_value();
    if (outcome.failure) {
        self->m_everyHour.start();
        co_return;
    }
    if (outcome.packages.empty()) {
        self->m_everyHour.stop();
        co_return;
    }
    self->m_package = nameIn(outcome.packages.front().id);
    self->m_handlers.found();
    self->m_everyHour.start();
    self->checkIfDue();
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
    if (m_check) {
        m_check->occasion = Occasion::User; // who wants to know what comes of it
        return;
    }
    beginCheck(Occasion::User);
}

void PackageKitUpdater::cancelCheck()
{
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

void PackageKitUpdater::conclude(const Finding &finding, Occasion occasion)
{
    // What a failed check would have found, nobody knows: what was told of can be installed still.
    const bool hasSucceeded = finding.result.kind != UpdateResult::Kind::Failed;
    const bool wasOffered = !m_updateId.isEmpty();
    if (hasSucceeded) {
        m_updateId = finding.updateId;
        m_schedule.recordCheck();
    }
    const bool isNews = hasSucceeded && (wasOffered || !m_updateId.isEmpty());
    if (isNews || occasion == Occasion::User) {
        m_handlers.ended(finding.result);
    }
}

QCoro::Task<PackageKitUpdater::Finding> PackageKitUpdater::look(Running activity, QString package)
{
    const bool isInteractive = activity->occasion == Occasion::User;
    Finding finding;
    if (isInteractive) {
        const Transaction::Outcome refreshed =
            co_await run(activity, PackageKitRequests::refreshCache());
        if (refreshed.failure) {
            finding.result = failed(*refreshed.failure);
            co_return finding;
        }
    }
    const Transaction::Outcome updates =
        co_await run(activity, PackageKitRequests::getUpdates(isInteractive));
    if (updates.failure) {
        finding.result = failed(*updates.failure);
        co_return finding;
    }
    finding.updateId = updateOf(package, updates);
    if (!finding.updateId.isEmpty()) {
        const Transaction::Outcome details = co_await run(
            activity, PackageKitRequests::getUpdateDetail(finding.updateId, isInteractive));
        finding.result = available(finding.updateId, details);
    }
    co_return finding;
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
    if (!now.failure && !hasVersion(now.packages, versionIn(update))) {
        co_return failed("PackageKit did not install the update");
    }
    co_return installed(update);
}

QCoro::Task<PackageKitTransaction::Outcome> PackageKitUpdater::run(Running activity,
                                                                   Transaction::Request request)
{
    if (!activity->link) {
        Transaction::Outcome outcome;
        outcome.failure = activity->failure.toStdString();
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
