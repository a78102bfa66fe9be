// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/UpdateSchedule.h"

#include "Core/StoredBool.h"
#include "Shared/AppLog.h"

#include <QFile>
#include <QLatin1String>
#include <QVariant>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

constexpr QLatin1String automaticKey("automaticallyChecksForUpdates");
constexpr QLatin1String lastCheckKey("lastCheck");
constexpr QLatin1String availableKey("availableVersion");
constexpr QLatin1String seenKey("seenVersion");
constexpr std::chrono::milliseconds period = std::chrono::hours(24);

} // namespace

UpdateSchedule::UpdateSchedule(const std::filesystem::path &file, Clock now)
    : m_store(QFile::decodeName(file.c_str()), QSettings::IniFormat)
    , m_now(std::move(now))
{
}

bool UpdateSchedule::isAutomatic() const
{
    return storedBool(m_store.value(automaticKey)).value_or(true);
}

void UpdateSchedule::setAutomatic(bool automatic)
{
    m_store.setValue(automaticKey, automatic);
    store();
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

bool UpdateSchedule::isDueAtStart() const
{
    return isDue() || (isAutomatic() && m_store.contains(availableKey));
}

void UpdateSchedule::recordCheck(const QString &availableVersion)
{
    m_store.setValue(lastCheckKey, m_now().toUTC().toString(Qt::ISODate));
    if (availableVersion.isEmpty()) {
        m_store.remove(availableKey);
    } else {
        m_store.setValue(availableKey, availableVersion);
    }
    store();
}

bool UpdateSchedule::isSeen(const QString &version) const
{
    return !version.isEmpty() && m_store.value(seenKey).toString() == version;
}

void UpdateSchedule::recordSeen(const QString &version)
{
    m_store.setValue(seenKey, version);
    store();
}

/// Brings the changes to the disk.
void UpdateSchedule::store()
{
    m_store.sync();
    if (m_store.status() == QSettings::AccessError && !m_isFailureLogged) {
        m_isFailureLogged = true;
        AppLog::log("[updates] the schedule cannot be kept in " + m_store.fileName().toStdString());
    }
}

} // namespace Tarnwick
