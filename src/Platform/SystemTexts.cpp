// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/SystemTexts.h"

namespace Tarnwick {

const SystemTexts &SystemTexts::ofMac()
{
    static const SystemTexts texts{
        .description =
            QStringLiteral("Native macOS menu bar utility for developers. Shows every listening "
                           "port, classified by tier, with one-click kill."),
        .whereItLives = QStringLiteral("Tarnwick lives in your menu bar."),
    };
    return texts;
}

const SystemTexts &SystemTexts::ofLinux()
{
    static const SystemTexts texts{
        .description =
            QStringLiteral("Native Linux tray utility for developers. Shows every listening "
                           "port, classified by tier, with one-click kill."),
        .whereItLives = QStringLiteral("Tarnwick lives in your system tray."),
    };
    return texts;
}

} // namespace Tarnwick
