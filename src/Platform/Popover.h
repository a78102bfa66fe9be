// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRect>
#include <QSize>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace Tarnwick {

/// The window that hangs below the status item and holds the panel. It is transient: a click
/// elsewhere, the loss of the keyboard and an unused Escape close it. It appears in no task bar and
/// no window switcher. Without a status item it is an ordinary window. Main thread.
class Popover
{
public:
    using Handler = std::function<void()>;

    Popover() = default;
    virtual ~Popover() = default;
    Popover(const Popover &) = delete;
    Popover &operator=(const Popover &) = delete;

    /// Makes the window and loads its content ahead of the first showing, so that this is quick.
    virtual void prepare() = 0;

    [[nodiscard]] virtual bool isShown() const = 0;

    /// Whether the click that is being handled, on the status item, is answered already: to a shown
    /// popover it was a click elsewhere and has hidden it, or it was reported so late, after the
    /// click before it, that the report of that one was taken for it and has shown the popover.
    [[nodiscard]] virtual bool wasClosedByThisClick() = 0;

    /// Shows it by @p anchor, a rectangle of the screen: below it, or above where there is no room,
    /// never across an edge of the screen. Without an anchor, shows it as an ordinary window. The
    /// keyboard is in it at once.
    virtual void show(const std::optional<QRect> &anchor) = 0;

    virtual void close() = 0;

    /// Called when the user closes it while it is an ordinary window.
    virtual void setWindowClosedHandler(Handler handler) = 0;

    /// A popover of @p size, or less on a screen that is smaller, whose content is the QML document
    /// @p content.
    [[nodiscard]] static std::unique_ptr<Popover> make(const QUrl &content, QSize size);
};

} // namespace Tarnwick
