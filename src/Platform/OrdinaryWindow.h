// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSize>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

namespace Tarnwick {

/// A window as any application has them, with a title, in task bars, of a fixed size. Closing it
/// only hides it: what it shows stays as it is, and so does its place. Main thread.
class OrdinaryWindow
{
public:
    using Handler = std::function<void()>;
    struct Description
    {
        QUrl content; ///< a QML document
        QString title;
        QString identifier;
        QSize size; ///< of the content; less on a screen that is smaller
    };
    using Maker = std::function<std::unique_ptr<OrdinaryWindow>(const Description &description)>;

    OrdinaryWindow() = default;
    virtual ~OrdinaryWindow() = default;
    OrdinaryWindow(const OrdinaryWindow &) = delete;
    OrdinaryWindow &operator=(const OrdinaryWindow &) = delete;

    /// Brings it to the front with the keyboard in it. The first call makes it, in the middle of
    /// the screen, and loads its content.
    virtual void show() = 0;

    /// Shows it without taking the keyboard from another window. Nothing while it is shown, nor on
    /// displays that know no such way, as those of Wayland.
    virtual void showWithoutFocus() = 0;

    /// Called when the user has closed it. The handler may destroy this object.
    virtual void setClosedHandler(Handler handler) = 0;

    /// One that is not shown yet.
    [[nodiscard]] static std::unique_ptr<OrdinaryWindow> make(const Description &description);
};

} // namespace Tarnwick
