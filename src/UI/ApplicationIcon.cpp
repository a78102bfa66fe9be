// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/ApplicationIcon.h"

#include <QGuiApplication>
#include <QPainter>

namespace Tarnwick {

ApplicationIcon::ApplicationIcon(QQuickItem *parent)
    : QQuickPaintedItem(parent)
    , m_icon(QGuiApplication::windowIcon())
{
    setAntialiasing(true);
}

void ApplicationIcon::paint(QPainter *painter)
{
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    const double scale = painter->device()->devicePixelRatioF();
    const QPixmap pixmap = m_icon.pixmap(boundingRect().size().toSize(), scale);
    painter->drawPixmap(boundingRect(), pixmap, pixmap.rect());
}

} // namespace Tarnwick
