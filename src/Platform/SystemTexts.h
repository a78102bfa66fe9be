// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace Tarnwick {

/// The texts of the interface that name the system or a part of its desktop.
struct SystemTexts
{
    QString description;  ///< what the application is, in the About pane
    QString whereItLives; ///< where its icon is, in the bubble of the first run

    [[nodiscard]] static const SystemTexts &ofMac();
    [[nodiscard]] static const SystemTexts &ofLinux();
    /// Those of the system that this program is built for.
    [[nodiscard]] static const SystemTexts &ofThisSystem();
};

} // namespace Tarnwick
