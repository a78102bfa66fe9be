// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QQuickView>

namespace Tarnwick {

/// The popover's window itself: tells what happens to it that its content did not want.
class PopoverView : public QQuickView
{
    Q_OBJECT

Q_SIGNALS:
    void escapePressed();
    /// The window manager asks for it; the window is still there.
    void closeRequested();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;
};

} // namespace Tarnwick
