// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/Symbol.h"

#include "Models/Precondition.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

namespace Tarnwick {

namespace {

constexpr double symbolToFont = 1.2;

QString drawingOf(const QString &name)
{
    return QStringLiteral(":/qt/qml/Tarnwick/UI/symbols/%1.svg").arg(name);
}

} // namespace

Symbol::Symbol(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
}

void Symbol::setName(const QString &name)
{
    if (!QFile::exists(drawingOf(name))) {
        preconditionFailure("a symbol must have a drawing");
    }
    if (m_name == name) {
        return;
    }
    m_name = name;
    update();
    Q_EMIT nameChanged();
}

void Symbol::setColor(const QColor &color)
{
    if (m_color == color) {
        return;
    }
    m_color = color;
    update();
    Q_EMIT colorChanged();
}

void Symbol::setPixelSize(int size)
{
    if (m_pixelSize == size) {
        return;
    }
    m_pixelSize = size;
    const double side = std::ceil(size * symbolToFont);
    setImplicitSize(side, side);
    Q_EMIT pixelSizeChanged();
}

void Symbol::paint(QPainter *painter)
{
    QSvgRenderer drawing(drawingOf(m_name));
    drawing.setAspectRatioMode(Qt::KeepAspectRatio);
    drawing.render(painter, boundingRect());
    painter->setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter->fillRect(boundingRect(), m_color);
}

} // namespace Tarnwick
