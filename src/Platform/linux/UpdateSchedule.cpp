// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UpdateSchedule.h"

#include <QFile>
#include <QLatin1String>
#include <QVariant>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

constexpr QLatin1String automaticKey("automaticallyChecksForUpdates");
constexpr QLatin1String lastCheckKey("lastCheck");
constexpr std::chrono::milliseconds period = std::chrono::hours(24);

} // namespace

UpdateSchedule::UpdateSchedule(const std::filesystem::path &file, Clock now)
    : m_store(QFile::decodeName(file.c_str()), QSettings::IniFormat)
    , m_now(std::move(now))
{
}

bool UpdateSchedule::isAutomatic() const
{
    return m_store.value(automaticKey).toString() != QLatin1String("false");
}

void UpdateSchedule::setAutomatic(bool automatic)
{
    m_store.setValue(automaticKey, automatic);
    m_store.sync();
}

bool UpdateSchedule::isDue() const
{
    if (!isAutomatic()) {
        return false;
    }
    const QDateTime last =
        QDateTime::fromString(m_store.value(lastCheckKey).toString(), Qt::ISODate);
    const QDateTime now = m_now();
    return !last.isValid() || last > now || last.addMSecs(period.count()) <= now;
}

void UpdateSchedule::recordCheck()
{
    m_store.setValue(lastCheckKey, m_now().toUTC().toString(Qt::ISODate));
    m_store.sync();
}

} // namespace Tarnwick
