// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/StatusIcon.h"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <QPixmap>

#include <array>

namespace Tarnwick {

namespace {

// 16 and 22 are the sizes of trays in pixels; then one and a half times and twice as much.
constexpr std::array<int, 6> sizes{16, 22, 24, 32, 33, 44};

// Of the picture's side.
constexpr double radius = 0.42;
constexpr double meridian = 0.19;
constexpr double parallel = 0.36;
constexpr double parallelHeight = 0.20;
constexpr double stroke = 0.075;
constexpr double rim = 0.10;

/// A globe with its meridians and parallels, on a square with sides of 1.
void drawGlobe(QPainter &painter, const QColor &color, double width)
{
    const QPointF centre(0.5, 0.5);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawEllipse(centre, radius, radius);
    painter.drawEllipse(centre, meridian, radius);
    painter.drawLine(QPointF(0.5, 0.5 - radius), QPointF(0.5, 0.5 + radius));
    painter.drawLine(QPointF(0.5 - radius, 0.5), QPointF(0.5 + radius, 0.5));
    for (const double y : {0.5 - parallelHeight, 0.5 + parallelHeight}) {
        painter.drawLine(QPointF(0.5 - parallel, y), QPointF(0.5 + parallel, y));
    }
}

QPixmap draw(StatusIcon::Tray tray, int size)
{
    const QColor white(245, 245, 245);
    const QColor black(30, 30, 30);
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size, size);
    if (tray == StatusIcon::Tray::Unknown) {
        drawGlobe(painter, black, stroke + rim);
    }
    drawGlobe(painter, tray == StatusIcon::Tray::Light ? black : white, stroke);
    return picture;
}

} // namespace

QIcon StatusIcon::forTray(Tray tray)
{
    QIcon icon;
    for (const int size : sizes) {
        icon.addPixmap(draw(tray, size));
    }
    // What an installed Tarnwick has: a tray gives it the colour of its other icons.
    return tray == Tray::Unknown ? QIcon::fromTheme(QStringLiteral("tarnwick-symbolic"), icon)
                                 : icon;
}

} // namespace Tarnwick
