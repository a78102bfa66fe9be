// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/StatusItem.h"

#include <functional>
#include <utility>

namespace Tarnwick {

/// A status item that is where a test puts it, and is clicked by the test.
class FakeStatusItem : public StatusItem
{
public:
    void setClickHandler(ClickHandler handler) override { click = std::move(handler); }
    void setPresenceHandler(PresenceHandler handler) override
    {
        m_presenceChanged = std::move(handler);
    }
    void setMenuBuilder(MenuBuilder builder) override { buildMenu = std::move(builder); }
    void install() override
    {
        if (onInstall) {
            onInstall();
        }
    }
    [[nodiscard]] Presence presence() const override { return m_presence; }
    [[nodiscard]] std::optional<QRect> place() const override { return m_place; }
    void popUpMenu() override { ++menusShown; }

    /// What the desktop does: a tray appears, or there is none or none any more.
    void appear(const QRect &place)
    {
        m_place = place;
        tell(Presence::Present);
    }
    void disappear()
    {
        m_place.reset();
        tell(Presence::Absent);
    }

    std::function<void()> onInstall;
    ClickHandler click;
    MenuBuilder buildMenu;
    int menusShown = 0;

private:
    void tell(Presence presence)
    {
        m_presence = presence;
        m_presenceChanged(presence);
    }

    PresenceHandler m_presenceChanged;
    Presence m_presence = Presence::Unsettled;
    std::optional<QRect> m_place;
};

} // namespace Tarnwick
