// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/FirstRunOnboarding.h"

#include "App/Preferences.h"

#include <QString>
#include <QUrl>

#include <utility>

namespace Tarnwick {

namespace {

constexpr QSize bubbleSize{260, 96};
constexpr int gapBelowIcon = 6;

} // namespace

FirstRunOnboarding::FirstRunOnboarding(Preferences &preferences, FloatingPanel::Maker makePanel,
                                       std::chrono::milliseconds duration)
    : m_preferences(preferences)
    , m_makePanel(std::move(makePanel))
{
    m_dismissal.setSingleShot(true);
    m_dismissal.setTimerType(Qt::PreciseTimer); // a coarse one may come before its time
    m_dismissal.setInterval(duration);
    m_dismissal.callOnTimeout([this] { dismiss(); });
}

FirstRunOnboarding::~FirstRunOnboarding() = default;

void FirstRunOnboarding::showIfNeeded(const std::optional<QRect> &anchor)
{
    if (m_preferences.hasSeenMenuBarOnboarding()) {
        return;
    }
    // First of all, so that it is never offered again, whatever happens to it.
    m_preferences.setHasSeenMenuBarOnboarding();
    if (!anchor) {
        return;
    }
    m_window = m_makePanel(QUrl(QStringLiteral("qrc:/qt/qml/Tarnwick/UI/OnboardingBubble.qml")),
                           bubbleSize);
    m_window->setDismissHandler([this] { dismiss(); });
    m_window->show(*anchor, gapBelowIcon);
    m_dismissal.start();
}

void FirstRunOnboarding::dismiss()
{
    m_dismissal.stop();
    m_window.reset();
}

} // namespace Tarnwick
