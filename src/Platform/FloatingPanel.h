// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRect>
#include <QSize>
#include <QUrl>

#include <functional>
#include <memory>

namespace Tarnwick {

/// A small window without a frame, above the others, on all workspaces and in no task bar. It never
/// takes the keyboard. It is on the screen from show() until the end of this object. Main thread.
class FloatingPanel
{
public:
    using Handler = std::function<void()>;
    using Maker = std::function<std::unique_ptr<FloatingPanel>(const QUrl &content, QSize size)>;

    FloatingPanel() = default;
    virtual ~FloatingPanel() = default;
    FloatingPanel(const FloatingPanel &) = delete;
    FloatingPanel &operator=(const FloatingPanel &) = delete;

    /// Called when the content emits its signal `dismiss()`. The handler may destroy this object.
    virtual void setDismissHandler(Handler handler) = 0;

    /// Shows the panel centred below @p anchor, a rectangle of the screen, @p gap away from it, or
    /// above where there is no room, never across an edge of the screen. The content is told in its
    /// property `isAbove`. Where the desktop places all windows itself, it places this one too.
    virtual void show(const QRect &anchor, int gap) = 0;

    /// A panel of @p size whose content is the QML document @p content.
    [[nodiscard]] static std::unique_ptr<FloatingPanel> make(const QUrl &content, QSize size);
};

} // namespace Tarnwick
