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

/// The entries of @p records, which are freed on the way.
std::vector<SharedPortEntry> sharedEntries(std::vector<RawPortInfo> records)
{
    std::vector<PortEntry> entries = PortScanner::entries(records);
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

} // namespace

NetworkMonitor::NetworkMonitor(RawRecordSource &source, DiffEngine &engine,
                               std::chrono::milliseconds debounceDelay,
                               std::chrono::milliseconds firstScanPatience)
    : m_source(source)
    , m_engine(engine)
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
    co_await m_executor.enter();
    std::vector<SharedPortEntry> entries = sharedEntries(std::move(records));
    co_await MainThread::enter();
    if (!self) {
        co_return;
    }
    co_await m_engine.process(std::move(entries));
}

} // namespace Tarnwick
