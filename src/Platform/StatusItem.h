// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QKeyCombination>
#include <QRect>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Tarnwick {

/// A click on the status item, as the user made it.
struct StatusClick
{
    enum class Button : std::uint8_t { Left, Right };

    Button button = Button::Left;
    bool withControl = false;
};

/// One line of the status item's menu.
struct StatusMenuEntry
{
    QString title; ///< empty for a separator
    std::optional<QKeyCombination> shortcut{};
    std::function<void()> chosen{};
};

using StatusMenu = std::vector<StatusMenuEntry>;

/// The icon in the desktop's tray, by which the user reaches the application. A desktop may have no
/// tray, or may start, lose and regain one while the application runs: the icon is there whenever a
/// tray is. Main thread.
class StatusItem
{
public:
    enum class Presence : std::uint8_t {
        Unsettled, ///< whether there is a tray is still being found out
        Absent,
        Present,
    };

    using ClickHandler = std::function<void(const StatusClick &click)>;
    using PresenceHandler = std::function<void(Presence presence)>;
    using MenuBuilder = std::function<StatusMenu()>;

    StatusItem() = default;
    virtual ~StatusItem() = default;
    StatusItem(const StatusItem &) = delete;
    StatusItem &operator=(const StatusItem &) = delete;

    /// Called with each click but those after which the desktop shows the menu by itself.
    virtual void setClickHandler(ClickHandler handler) = 0;

    /// Called when it is settled whether there is a tray, which takes a second at most, and with
    /// each change after that. Never from within install().
    virtual void setPresenceHandler(PresenceHandler handler) = 0;

    /// What the menu consists of is asked each time that it is shown; only where the desktop shows
    /// menus itself, with its own copy, is it asked when the icon appears.
    virtual void setMenuBuilder(MenuBuilder builder) = 0;

    /// Puts the icon into the tray, now or when there is one. Call it once, after the handlers are
    /// set.
    virtual void install() = 0;

    [[nodiscard]] virtual Presence presence() const = 0;

    /// Where the icon is on the screen, as well as that can be known: where a desktop does not
    /// tell, the place of the last click on it, else the corner by the tray. Nothing without a
    /// tray.
    [[nodiscard]] virtual std::optional<QRect> place() const = 0;

    /// Shows the menu at the icon. Returns at once.
    virtual void popUpMenu() = 0;

    /// The item as this platform makes it.
    [[nodiscard]] static std::unique_ptr<StatusItem> make();
};

} // namespace Tarnwick
