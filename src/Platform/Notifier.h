// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace Tarnwick {

/// The notifications of the desktop: messages that appear beside the user's work, without the
/// keyboard. One at a time. Main thread.
class Notifier
{
public:
    struct Notification
    {
        QString title;
        QString text;          ///< shown where the desktop offers no actions
        QString activateLabel; ///< of the button that activates it
    };
    /// At most one is called for each notification, once. They may call the notifier.
    struct Handlers
    {
        std::function<void()> activated; ///< the user wants to see more
        std::function<void()> dismissed; ///< the user has closed it: it was seen
        std::function<void()> failed;    ///< it was not shown: the desktop shows none
    };

    Notifier() = default;
    virtual ~Notifier() = default;
    Notifier(const Notifier &) = delete;
    Notifier &operator=(const Notifier &) = delete;

    /// Shows @p notification instead of the one before, without waiting.
    virtual void show(const Notification &notification, Handlers handlers) = 0;

    /// Removes the notification, whose handlers are called no more. Nothing when there is none.
    virtual void withdraw() = 0;

    /// That of this desktop.
    [[nodiscard]] static std::unique_ptr<Notifier> ofThisDesktop();
};

} // namespace Tarnwick
