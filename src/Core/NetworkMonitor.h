// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/SerialExecutor.h"
#include "Shared/TierRules.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace Tarnwick {

class DiffEngine;
class RawRecordSource;

/// Decides when the machine's listeners are looked at: once at the start, then with every period of
/// a repeating timer, and once shortly after the last of a burst of requests. A scan asks the
/// source for the records, makes entries of them off the main thread and gives them to the engine.
/// Scans may overlap. Main thread; may be destroyed while scans are in flight, which then end
/// silently.
class NetworkMonitor : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultDebounceDelay{300};
    static constexpr std::chrono::milliseconds defaultFirstScanPatience{10'000};

    /// Gives the rules for tiers that hold now; never null. Called for each scan, on a thread that
    /// is not the main one, once at a time; also after the monitor has gone.
    using TierRuleProvider = std::function<SharedTierRules()>;

    /// @p source and @p engine outlive the monitor. @p debounceDelay is how long after the last
    /// request the requested scan comes, @p firstScanPatience how long the timer waits for the scan
    /// of the start. Without @p tierRules the built-in rules decide alone.
    NetworkMonitor(RawRecordSource &source, DiffEngine &engine,
                   std::chrono::milliseconds debounceDelay = defaultDebounceDelay,
                   std::chrono::milliseconds firstScanPatience = defaultFirstScanPatience,
                   TierRuleProvider tierRules = {});

    /// The one monitor of the program, made with the first call, on the shared services.
    [[nodiscard]] static NetworkMonitor &shared();

    /// The period of the timer that start() will start, in seconds. A timer that runs keeps the
    /// period that it was started with.
    [[nodiscard]] double pollInterval() const { return m_pollInterval; }
    void setPollInterval(double seconds) { m_pollInterval = seconds; }

    /// Scans once, then starts the timer: when that scan has ended, or when it has been awaited
    /// long enough, for a scan whose answer is lost never ends. Who starts again stops before.
    QCoro::Task<void> start();

    /// Ends the timer, also one that is about to be started, and forgets a requested scan. Scans
    /// that run already go on.
    void stop();

    /// Requests a scan after the delay, in the place of a request still waiting.
    void scheduleDebouncedScan();

private:
    /// Whether it is this start that is still to have a timer; from then on it is not.
    [[nodiscard]] bool takeWaiting(unsigned start);
    void startTimer();
    QCoro::Task<void> triggerScan();

    struct Classification;

    RawRecordSource &m_source;
    DiffEngine &m_engine;
    std::shared_ptr<Classification> m_classification; ///< of the executor's thread
    double m_pollInterval = 10.0;
    std::chrono::milliseconds m_firstScanPatience;
    unsigned m_lastStart = 0;
    std::optional<unsigned> m_waitingStart; ///< whose timer is not started yet: the last one's
    QPointer<QTimer> m_timer;               ///< a child; null when stopped
    QTimer m_debounceTimer;
    SerialExecutor m_executor;
};

} // namespace Tarnwick
