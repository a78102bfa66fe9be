// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/UptimeClock.h"

#include "Models/Timestamp.h"
#include "Models/Uptime.h"

#include <chrono>

namespace Tarnwick {

namespace {

Timestamp timestamp(double milliseconds)
{
    return Timestamp(std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds)));
}

} // namespace

UptimeClock::UptimeClock(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(std::chrono::seconds(1));
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &UptimeClock::tick);
}

void UptimeClock::setRunning(bool running)
{
    if (running == isRunning()) {
        return;
    }
    if (running) {
        m_timer.start();
        tick();
    } else {
        m_timer.stop();
    }
    Q_EMIT runningChanged();
}

double UptimeClock::now()
{
    const auto now =
        std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
    return static_cast<double>(now.time_since_epoch().count());
}

QString UptimeClock::format(double since, double now)
{
    return QString::fromStdString(Uptime::format(timestamp(since), timestamp(now)));
}

void UptimeClock::tick()
{
    Q_EMIT ticked(now());
}

} // namespace Tarnwick
