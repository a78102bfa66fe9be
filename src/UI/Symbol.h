// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QColor>
#include <QQmlEngine>
#include <QQuickPaintedItem>
#include <QString>

namespace Tarnwick {

/// One of the interface's symbols, drawn in any colour and sharp at any scale of the screen: its
/// drawing is an SVG file, of which only the shape counts. A name without a drawing is a
/// programming error. Main thread; its painting on the scene's.
class Symbol : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged REQUIRED FINAL)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)
    Q_PROPERTY(int pixelSize READ pixelSize WRITE setPixelSize NOTIFY pixelSizeChanged FINAL)

public:
    explicit Symbol(QQuickItem *parent = nullptr);

    /// The drawing's file without its ending.
    [[nodiscard]] QString name() const { return m_name; }
    void setName(const QString &name);

    [[nodiscard]] QColor color() const { return m_color; }
    void setColor(const QColor &color);

    /// The size of the font beside which it stands: a symbol is a fifth larger than that, in whole
    /// pixels.
    [[nodiscard]] int pixelSize() const { return m_pixelSize; }
    void setPixelSize(int size);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void nameChanged();
    void colorChanged();
    void pixelSizeChanged();

private:
    QString m_name;
    QColor m_color = Qt::white;
    int m_pixelSize = 0;
};

} // namespace Tarnwick
