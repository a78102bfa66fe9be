// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PopoverView.h"

#include <QEvent>
#include <QKeyEvent>

namespace Tarnwick {

void PopoverView::keyPressEvent(QKeyEvent *event)
{
    QQuickView::keyPressEvent(event);
    if (event->key() == Qt::Key_Escape && !event->isAccepted()) {
        event->accept();
        Q_EMIT escapePressed();
    }
}

bool PopoverView::event(QEvent *event)
{
    if (event->type() == QEvent::Close) {
        event->ignore();
        Q_EMIT closeRequested();
        return true;
    }
    return QQuickView::event(event);
}

} // namespace Tarnwick
