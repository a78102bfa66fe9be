// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCursor>
#include <QObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQml/qqmlregistration.h>

namespace Tarnwick {

/// How the pointer of the mouse looks.
class Pointer : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Whether it is a pointing hand, in the window of @p item.
    Q_INVOKABLE static bool isHandIn(const QQuickItem *item)
    {
        return item->window()->cursor().shape() == Qt::PointingHandCursor;
    }
};

} // namespace Tarnwick
