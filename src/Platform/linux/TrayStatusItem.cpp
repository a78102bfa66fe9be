// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/TrayStatusItem.h"

#include "Platform/AnchoredPlacement.h"
#include "Platform/linux/SharedBusCheck.h"
#include "Platform/linux/TrayBackground.h"

#include <QAction>
#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>

#include <array>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::chrono::milliseconds busPatience{1000};

// A tray has given the icon its place within a few of these.
constexpr std::chrono::milliseconds placingInterval{10};
constexpr int placings = 100;
constexpr std::array<std::chrono::milliseconds, 2> pictureMoments{std::chrono::milliseconds(150),
                                                                  std::chrono::milliseconds(1000)};

/// The corner where trays are, as far from the middle of the screen as what reserves its edges
/// leaves.
QRect cornerByTray()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QRect whole = screen->geometry();
    const QRect free = screen->availableGeometry();
    const bool panelIsBelow = free.bottom() < whole.bottom() && free.top() == whole.top();
    const bool isMirrored = QGuiApplication::isRightToLeft();
    return {QPoint(isMirrored ? free.left() : free.right(),
                   panelIsBelow ? free.bottom() + 1 : free.top()),
            QSize(0, 0)};
}

} // namespace

std::unique_ptr<StatusItem> StatusItem::make()
{
    return std::make_unique<TrayStatusItem>();
}

TrayStatusItem::TrayStatusItem()
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(busPatience);
    m_patience.callOnTimeout(this, &TrayStatusItem::traysChanged);
    m_placing.setInterval(placingInterval);
    m_placing.callOnTimeout(this, &TrayStatusItem::awaitPlace);
}

TrayStatusItem::~TrayStatusItem()
{
    m_icon.reset();
}

void TrayStatusItem::setClickHandler(ClickHandler handler)
{
    m_clicked = std::move(handler);
}

void TrayStatusItem::setPresenceHandler(PresenceHandler handler)
{
    m_presenceChanged = std::move(handler);
}

void TrayStatusItem::setMenuBuilder(MenuBuilder builder)
{
    m_buildMenu = std::move(builder);
}

void TrayStatusItem::install()
{
    m_patience.start();
    m_embeddingTray = std::make_unique<EmbeddingTray>();
    connect(&m_notifierHosts, &NotifierHosts::changed, this, &TrayStatusItem::traysChanged);
    connect(m_embeddingTray.get(), &EmbeddingTray::changed, this, &TrayStatusItem::traysChanged);
    // The hosts may be known by now.
    QMetaObject::invokeMethod(this, &TrayStatusItem::traysChanged, Qt::QueuedConnection);
}

void TrayStatusItem::traysChanged()
{
    const std::optional<bool> hosts = m_notifierHosts.arePresent();
    if (!hosts && m_patience.isActive()) {
        return;
    }
    m_patience.stop();
    const Tray tray = bestTray(hosts.value_or(false));
    if (tray == m_tray && (m_icon || m_presence != Presence::Unsettled)) {
        return;
    }
    m_tray = tray;
    m_lastClick.reset();
    m_placing.stop();
    m_icon.reset();
    if (tray == Tray::None) {
        settle(Presence::Absent);
        return;
    }
    makeIcon();
}

TrayStatusItem::Tray TrayStatusItem::bestTray(bool hasNotifierHost) const
{
    if (hasNotifierHost && m_spokenTo != Tray::Embedding && !SharedBusCheck::hasFailed()) {
        return Tray::Notifier;
    }
    return m_embeddingTray->isPresent() && m_spokenTo != Tray::Notifier ? Tray::Embedding
                                                                        : Tray::None;
}

void TrayStatusItem::makeIcon()
{
    m_spokenTo = m_tray;
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setToolTip(QStringLiteral("Tarnwick"));
    m_background = StatusIcon::Tray::Unknown;
    m_icon->setIcon(StatusIcon::forTray(m_background));
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, &TrayStatusItem::activated);
    if (m_tray == Tray::Notifier) {
        // Such a tray draws the menu itself, in its own style and place.
        m_menu = makeMenu();
        m_icon->setContextMenu(m_menu.get());
        m_icon->show();
        settle(Presence::Present);
        return;
    }
    m_icon->show();
    m_placingsLeft = placings;
    m_placing.start();
}

void TrayStatusItem::awaitPlace()
{
    --m_placingsLeft;
    if (m_icon->geometry().isEmpty() && m_placingsLeft > 0) {
        return;
    }
    m_placing.stop();
    // Now, or a little later, the tray has drawn itself behind the icon.
    for (const std::chrono::milliseconds moment : pictureMoments) {
        QTimer::singleShot(moment, m_icon.get(), [this] { matchPicture(); });
    }
    settle(Presence::Present);
}

void TrayStatusItem::settle(Presence presence)
{
    m_presence = presence;
    if (m_presenceChanged) {
        m_presenceChanged(presence);
    }
}

void TrayStatusItem::matchPicture()
{
    const StatusIcon::Tray background = TrayBackground::at(m_icon->geometry());
    if (std::exchange(m_background, background) != background) {
        m_icon->setIcon(StatusIcon::forTray(background));
    }
}

std::optional<QRect> TrayStatusItem::place() const
{
    if (!m_icon) {
        return std::nullopt;
    }
    const QRect told = m_icon->geometry();
    if (!told.isEmpty()) {
        return told;
    }
    return m_lastClick ? QRect(*m_lastClick, QSize(0, 0)) : cornerByTray();
}

void TrayStatusItem::popUpMenu()
{
    std::unique_ptr<QMenu> menu = makeMenu();
    connect(menu.get(), &QMenu::aboutToHide, menu.get(), &QObject::deleteLater);
    const QRect anchor = place().value_or(QRect(QCursor::pos(), QSize(0, 0)));
    const QScreen *there = QGuiApplication::screenAt(anchor.center());
    const QScreen *screen = there != nullptr ? there : QGuiApplication::primaryScreen();
    const QRect under =
        AnchoredPlacement::below(anchor, menu->sizeHint(), 0, screen->availableGeometry());
    menu.release()->popup(under.topLeft());
}

std::unique_ptr<QMenu> TrayStatusItem::makeMenu() const
{
    auto menu = std::make_unique<QMenu>();
    for (const StatusMenuEntry &entry : m_buildMenu()) {
        if (entry.title.isEmpty()) {
            menu->addSeparator();
            continue;
        }
        QAction *action = menu->addAction(entry.title);
        if (entry.shortcut) {
            action->setShortcut(QKeySequence(*entry.shortcut));
            action->setShortcutVisibleInContextMenu(true);
        }
        if (entry.chosen) {
            connect(action, &QAction::triggered, this, entry.chosen);
        }
    }
    return menu;
}

void TrayStatusItem::activated(QSystemTrayIcon::ActivationReason reason)
{
    // On X11 the pointer is where the click was; elsewhere nobody may know.
    m_lastClick = QCursor::pos();
    const bool withControl =
        QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier);
    switch (reason) {
    case QSystemTrayIcon::Context:
        // One that the tray itself shows the menu after is not reported.
        m_clicked({.button = StatusClick::Button::Right, .withControl = withControl});
        break;
    case QSystemTrayIcon::Trigger:
    case QSystemTrayIcon::DoubleClick: // the second of two clicks
        m_clicked({.button = StatusClick::Button::Left, .withControl = withControl});
        break;
    case QSystemTrayIcon::MiddleClick:
    case QSystemTrayIcon::Unknown:
        break;
    }
}

} // namespace Tarnwick
