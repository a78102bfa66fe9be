// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/FloatingPanel.h"

#include <QRect>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

namespace Tarnwick {

class Preferences;

/// Tells, once in the life of the installation, where the application lives: a bubble below the
/// status item, which a click or seven seconds take away. Main thread.
class FirstRunOnboarding
{
public:
    static constexpr std::chrono::milliseconds defaultDuration{7000};

    /// @p preferences outlive the onboarding. @p duration is how long the bubble stays.
    FirstRunOnboarding(Preferences &preferences, FloatingPanel::Maker makePanel,
                       std::chrono::milliseconds duration = defaultDuration);
    ~FirstRunOnboarding();
    FirstRunOnboarding(const FirstRunOnboarding &) = delete;
    FirstRunOnboarding &operator=(const FirstRunOnboarding &) = delete;

    /// The one onboarding of the program, made with the first call.
    [[nodiscard]] static FirstRunOnboarding &shared();

    /// Shows the bubble below @p anchor, the place of the status item on the screen, unless it has
    /// had its chance before. Without a place that chance is gone too.
    void showIfNeeded(const std::optional<QRect> &anchor);

    /// Takes the bubble away. Nothing when none is shown.
    void dismiss();

    /// Whether the bubble is to go by itself.
    [[nodiscard]] bool isDismissalPending() const { return m_dismissal.isActive(); }

private:
    Preferences &m_preferences;
    FloatingPanel::Maker m_makePanel;
    std::unique_ptr<FloatingPanel> m_window;
    QTimer m_dismissal;
};

} // namespace Tarnwick
