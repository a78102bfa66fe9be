// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/NetworkMonitor.h"

#include "Core/DiffEngine.h"
#include "Core/MainThread.h"
#include "Core/RawRecordSource.h"
#include "Shared/PortScanner.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

std::vector<SharedPortEntry> sharedEntries(std::vector<PortEntry> entries)
{
    std::vector<SharedPortEntry> shared;
    shared.reserve(entries.size());
    for (PortEntry &entry : entries) {
        shared.push_back(std::make_shared<const PortEntry>(std::move(entry)));
    }
    return shared;
}

/// What a timer of Qt can have for a period, nearest to @p seconds.
std::chrono::milliseconds timerPeriod(double seconds)
{
    constexpr double longest = std::numeric_limits<int>::max();
    return std::chrono::milliseconds(static_cast<int>(std::clamp(seconds * 1000.0, 1.0, longest)));
}

/// Whether the classification of two entries of one record shows a difference.
bool differ(const PortEntry &left, const PortEntry &right)
{
    return left.tier != right.tier || left.description != right.description ||
           left.settingsLink != right.settingsLink;
}

} // namespace

/// Makes entries of records. Shared with the scans in flight, which may outlive the monitor.
struct NetworkMonitor::Classification
{
    struct Result
    {
        std::vector<SharedPortEntry> entries;
        /// Those that other rules than those of the scan before have changed nothing of; absent
        /// where the rules are the same. An entry stays what it was for as long as it listens: one
        /// that the rules change has to be left out of a scan once.
        std::optional<std::vector<SharedPortEntry>> unchanged;
    };

    /// Frees @p records on the way.
    [[nodiscard]] Result entriesOf(std::vector<RawPortInfo> records)
    {
        const SharedTierRules rules = provider ? provider() : std::make_shared<const TierRules>();
        const SharedTierRules before = std::exchange(latest, rules);
        std::vector<PortEntry> entries = PortScanner::entries(records, *rules);
        if (!provider || before == nullptr || before == rules) {
            return {.entries = sharedEntries(std::move(entries)), .unchanged = std::nullopt};
        }
        const std::vector<PortEntry> previous = PortScanner::entries(records, *before);
        Result result{.entries = sharedEntries(std::move(entries)), .unchanged = {{}}};
        for (std::size_t index = 0; index < previous.size(); ++index) {
            if (!differ(*result.entries[index], previous[index])) {
                result.unchanged->push_back(result.entries[index]);
            }
        }
        return result;
    }

    TierRuleProvider provider;
    SharedTierRules latest{}; ///< of the scan before; null before the first one
};

NetworkMonitor::NetworkMonitor(RawRecordSource &source, DiffEngine &engine,
                               std::chrono::milliseconds debounceDelay,
                               std::chrono::milliseconds firstScanPatience,
                               TierRuleProvider tierRules)
    : m_source(source)
    , m_engine(engine)
    , m_classification(std::make_shared<Classification>(Classification{std::move(tierRules)}))
    , m_firstScanPatience(firstScanPatience)
{
    m_debounceTimer.setSingleShot(true);
    m_debounceTimer.setTimerType(Qt::PreciseTimer); // a coarse one may come before its time
    m_debounceTimer.setInterval(debounceDelay);
    connect(&m_debounceTimer, &QTimer::timeout, this, [this] { triggerScan(); });
}

QCoro::Task<void> NetworkMonitor::start()
{
    const QPointer<NetworkMonitor> self(this);
    const unsigned start = ++m_lastStart;
    m_waitingStart = start;
    // A first scan that is lost must not be the last one.
    QTimer::singleShot(m_firstScanPatience, this, [this, start] {
        if (takeWaiting(start)) {
            startTimer();
            triggerScan();
        }
    });
    co_await triggerScan();
    if (self && takeWaiting(start)) {
        startTimer();
    }
}

bool NetworkMonitor::takeWaiting(unsigned start)
{
    if (m_waitingStart != start) {
        return false;
    }
    m_waitingStart.reset();
    return true;
}

void NetworkMonitor::stop()
{
    m_debounceTimer.stop();
    m_waitingStart.reset();
    if (m_timer) {
        m_timer->stop();
        m_timer->deleteLater();
        m_timer.clear();
    }
}

void NetworkMonitor::scheduleDebouncedScan()
{
    m_debounceTimer.start();
}

void NetworkMonitor::startTimer()
{
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, [this] { triggerScan(); });
    m_timer->start(timerPeriod(m_pollInterval));
}

QCoro::Task<void> NetworkMonitor::triggerScan()
{
    const QPointer<NetworkMonitor> self(this);
    std::vector<RawPortInfo> records = co_await m_source.xpcScan();
    if (!self) {
        co_return;
    }
    const std::shared_ptr<Classification> classification = m_classification;
    co_await m_executor.enter();
    Classification::Result result = classification->entriesOf(std::move(records));
    co_await MainThread::enter();
    if (!self) {
        co_return;
    }
    if (result.unchanged) {
        co_await m_engine.process(std::move(*result.unchanged));
        if (!self) {
            co_return;
        }
    }
    co_await m_engine.process(std::move(result.entries));
}

} // namespace Tarnwick
