// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QIcon>
#include <QQmlEngine>
#include <QQuickPaintedItem>

namespace Tarnwick {

/// The icon of the application's windows, stretched to the item, sharp at any scale of the
/// screen. Main thread; its painting on the scene's.
class ApplicationIcon : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool isPresent READ isPresent CONSTANT FINAL)

public:
    explicit ApplicationIcon(QQuickItem *parent = nullptr);

    /// Whether there is one.
    [[nodiscard]] bool isPresent() const { return !m_icon.isNull(); }

    void paint(QPainter *painter) override;

private:
    QIcon m_icon;
};

} // namespace Tarnwick
