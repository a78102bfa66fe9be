// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/Preferences.h"

#include "Core/StoredBool.h"

#include <QSettings>
#include <QString>
#include <QVariant>

namespace Tarnwick {

namespace {

constexpr QLatin1StringView showSystemPortsKey{"showSystemPortsByDefault"};
constexpr QLatin1StringView pollIntervalKey{"pollInterval"};
constexpr QLatin1StringView onboardingKey{"hasSeenMenuBarOnboarding"};
constexpr QLatin1StringView declinedKey{"declinedMoveToApplications"};

bool isTrue(const QVariant &value)
{
    return storedBool(value).value_or(false);
}

} // namespace

Preferences::Preferences(QSettings &store)
    : m_store(store)
{
}

bool Preferences::showSystemPortsByDefault() const
{
    return isTrue(m_store.value(showSystemPortsKey));
}

bool Preferences::setShowSystemPortsByDefault(bool show)
{
    return keep(showSystemPortsKey, show);
}

std::optional<double> Preferences::pollInterval() const
{
    bool isNumber = false;
    const double seconds = m_store.value(pollIntervalKey).toDouble(&isNumber);
    if (isNumber && seconds >= shortestPollInterval && seconds <= longestPollInterval) {
        return seconds;
    }
    return std::nullopt;
}

bool Preferences::setPollInterval(double seconds)
{
    return keep(pollIntervalKey, seconds);
}

bool Preferences::hasSeenMenuBarOnboarding() const
{
    return isTrue(m_store.value(onboardingKey));
}

void Preferences::setHasSeenMenuBarOnboarding()
{
    keep(onboardingKey, true);
}

bool Preferences::declinedMoveToApplications() const
{
    return isTrue(m_store.value(declinedKey));
}

void Preferences::setDeclinedMoveToApplications()
{
    keep(declinedKey, true);
}

QString Preferences::file() const
{
    return m_store.fileName();
}

bool Preferences::keep(const QString &key, const QVariant &value)
{
    m_store.setValue(key, value);
    // The status of a store remembers its first failure for good. Another one of the same file has
    // a status of its own, and stores what the first one holds.
    QSettings writer(m_store.fileName(), m_store.format());
    writer.sync();
    return writer.status() == QSettings::NoError;
}

} // namespace Tarnwick
