// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/TrayBackground.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

namespace Tarnwick {

namespace {

constexpr double middleLightness = 0.5;

} // namespace

StatusIcon::Tray TrayBackground::at(const QRect &icon)
{
    QScreen *screen = QGuiApplication::screenAt(icon.center());
    if (icon.isEmpty() || screen == nullptr) {
        return StatusIcon::Tray::Unknown;
    }
    const QRect place = icon.translated(-screen->geometry().topLeft());
    const QImage seen =
        screen->grabWindow(0, place.x(), place.y(), place.width(), place.height()).toImage();
    if (seen.isNull()) {
        return StatusIcon::Tray::Unknown;
    }
    // The picture leaves the corners free.
    const QRect area = seen.rect();
    double lightness = 0;
    for (const QPoint corner :
         {area.topLeft(), area.topRight(), area.bottomLeft(), area.bottomRight()}) {
        lightness += seen.pixelColor(corner).lightnessF() / 4;
    }
    return lightness < middleLightness ? StatusIcon::Tray::Dark : StatusIcon::Tray::Light;
}

} // namespace Tarnwick
