// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/StatusItem.h"
#include "Platform/linux/EmbeddingTray.h"
#include "Platform/linux/NotifierHosts.h"
#include "Platform/linux/StatusIcon.h"

#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

class QMenu;

namespace Tarnwick {

/// The status item as Qt's tray icon. Qt decides once for a process which kind of tray it speaks
/// to; so the icon is made only when there is a tray, and made again when one of that kind comes
/// back. Each icon has its own connection to the bus, so it works again after the bus was gone.
class TrayStatusItem : public QObject, public StatusItem
{
    Q_OBJECT

public:
    TrayStatusItem();
    ~TrayStatusItem() override;

    void setClickHandler(ClickHandler handler) override;
    void setPresenceHandler(PresenceHandler handler) override;
    void setMenuBuilder(MenuBuilder builder) override;
    void install() override;
    [[nodiscard]] Presence presence() const override { return m_presence; }
    [[nodiscard]] std::optional<QRect> place() const override;
    void popUpMenu() override;

private:
    enum class Tray : std::uint8_t { None, Embedding, Notifier };

    void traysChanged();
    [[nodiscard]] Tray bestTray(bool hasNotifierHost) const;
    void makeIcon();
    void awaitPlace();
    void settle(Presence presence);
    void matchPicture();
    void activated(QSystemTrayIcon::ActivationReason reason);
    [[nodiscard]] std::unique_ptr<QMenu> makeMenu() const;

    NotifierHosts m_notifierHosts; ///< asked from the start, for the icon to wait for nothing more
    std::unique_ptr<EmbeddingTray> m_embeddingTray;
    Tray m_tray = Tray::None;
    Tray m_spokenTo = Tray::None; ///< what the first icon was for, and all others are
    Presence m_presence = Presence::Unsettled;
    std::unique_ptr<QMenu> m_menu; ///< outlives the icon that shows it
    std::unique_ptr<QSystemTrayIcon> m_icon;
    std::optional<QPoint> m_lastClick; ///< on this icon, where its tray does not tell its place
    QTimer m_patience;                 ///< with a bus that does not answer
    StatusIcon::Tray m_background = StatusIcon::Tray::Unknown; ///< that the picture is made for
    QTimer m_placing;
    int m_placingsLeft = 0;

    ClickHandler m_clicked;
    PresenceHandler m_presenceChanged;
    MenuBuilder m_buildMenu;
};

} // namespace Tarnwick
