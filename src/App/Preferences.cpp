// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/Preferences.h"

#include <QSettings>
#include <QString>
#include <QVariant>

namespace Tarnwick {

namespace {

constexpr QLatin1StringView showSystemPortsKey{"showSystemPortsByDefault"};
constexpr QLatin1StringView pollIntervalKey{"pollInterval"};
constexpr QLatin1StringView onboardingKey{"hasSeenMenuBarOnboarding"};
constexpr QLatin1StringView declinedKey{"declinedMoveToApplications"};

/// A file keeps a truth value as a word. Anything but the two words is of another type.
bool isTrue(const QVariant &value)
{
    return value.typeId() == QMetaType::Bool
               ? value.toBool()
               : value.typeId() == QMetaType::QString &&
                     value.toString().compare(QLatin1StringView("true"), Qt::CaseInsensitive) == 0;
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

void Preferences::setShowSystemPortsByDefault(bool show)
{
    m_store.setValue(showSystemPortsKey, show);
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

void Preferences::setPollInterval(double seconds)
{
    m_store.setValue(pollIntervalKey, seconds);
}

bool Preferences::hasSeenMenuBarOnboarding() const
{
    return isTrue(m_store.value(onboardingKey));
}

void Preferences::setHasSeenMenuBarOnboarding()
{
    m_store.setValue(onboardingKey, true);
    m_store.sync();
}

bool Preferences::declinedMoveToApplications() const
{
    return isTrue(m_store.value(declinedKey));
}

void Preferences::setDeclinedMoveToApplications()
{
    m_store.setValue(declinedKey, true);
    m_store.sync();
}

} // namespace Tarnwick
