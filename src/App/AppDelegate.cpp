// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/AppDelegate.h"

#include "App/AppState.h"
#include "App/FirstRunOnboarding.h"
#include "App/Preferences.h"
#include "App/SettingsWindowOpener.h"
#include "Core/MainThread.h"
#include "Core/NetworkMonitor.h"
#include "Platform/LaunchContext.h"
#include "Platform/Popover.h"
#include "Shared/AppLog.h"

#include <QPointer>
#include <QTimer>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::chrono::milliseconds automaticOpeningDelay{300};

/// In it a tray has asked for the icon, which it could not be told while the panel is being made.
constexpr std::chrono::milliseconds preparationDelay{50};

StatusMenuEntry separator()
{
    return {};
}

} // namespace

AppDelegate::AppDelegate(const Services &services, Actions actions)
    : m_services(services)
    , m_actions(std::move(actions))
{
}

void AppDelegate::applicationDidFinishLaunching()
{
    if (hasMoved()) {
        return; // the copy will do all of this, and its predecessor ends with the next event
    }
    if (m_actions.makeUpdater) {
        m_actions.makeUpdater();
    }
    createStatusItem();
    setUpPopover();
    applySavedPreferences();
    startMonitoring();
    // Who needs to know whether there is an icon waits for that; a login item need not.
    if (m_services.launchContext.isLoginItem()) {
        greet();
    }
}

bool AppDelegate::hasMoved() const
{
    return m_actions.promptToMove && m_actions.promptToMove() == MoveToApplications::Outcome::Moved;
}

void AppDelegate::createStatusItem()
{
    m_hasItem = true;
    StatusItem &item = m_services.statusItem;
    item.setClickHandler([this](const StatusClick &click) { handleStatusClick(click); });
    item.setMenuBuilder([this] { return contextMenu(); });
    item.setPresenceHandler([this](StatusItem::Presence presence) { presenceChanged(presence); });
    item.install();
}

void AppDelegate::setUpPopover()
{
    m_services.popover.setWindowClosedHandler([this] {
        // Nothing of the application would be left to be seen.
        if (m_services.statusItem.presence() != StatusItem::Presence::Present &&
            m_actions.terminate) {
            m_actions.terminate();
        }
    });
}

void AppDelegate::applySavedPreferences()
{
    m_services.appState.setShowSystemPorts(m_services.preferences.showSystemPortsByDefault());
    if (const std::optional<double> seconds = m_services.preferences.pollInterval()) {
        m_services.networkMonitor.setPollInterval(*seconds);
    }
}

void AppDelegate::startMonitoring()
{
    MainThread::post([monitor = QPointer(&m_services.networkMonitor)] {
        if (monitor) {
            monitor->start();
        }
    });
}

void AppDelegate::presenceChanged(StatusItem::Presence presence)
{
    if (!m_greeted) {
        greet();
    }
    QTimer::singleShot(preparationDelay, this, [this] { m_services.popover.prepare(); });
    if (presence == StatusItem::Presence::Present && m_shownWithoutItem) {
        m_shownWithoutItem = false;
        if (m_services.popover.isShown()) {
            m_services.popover.show(m_services.statusItem.place());
        }
    }
}

void AppDelegate::greet()
{
    m_greeted = true;
    if (m_services.launchContext.isLoginItem()) {
        AppLog::log("[app] login-item launch — staying quiet in menu bar");
        return;
    }
    if (!m_services.preferences.hasSeenMenuBarOnboarding() &&
        m_services.statusItem.presence() == StatusItem::Presence::Present) {
        AppLog::log("[app] first-run — showing menu bar onboarding");
        m_services.onboarding.showIfNeeded(m_services.statusItem.place());
        return;
    }
    AppLog::log("[app] user-initiated launch — auto-opening popover");
    QTimer::singleShot(automaticOpeningDelay, this, &AppDelegate::openPopover);
}

void AppDelegate::handleStatusClick(const StatusClick &click)
{
    if (click.button == StatusClick::Button::Right || click.withControl) {
        presentContextMenu();
        return;
    }
    if (!m_services.popover.wasClosedByThisClick()) {
        togglePopover();
    }
}

void AppDelegate::togglePopover()
{
    if (m_services.popover.isShown()) {
        m_services.popover.close();
    } else {
        openPopover();
    }
}

void AppDelegate::openPopover()
{
    if (!m_services.popover.isShown()) {
        reopen();
    }
}

void AppDelegate::reopen()
{
    if (!m_hasItem) {
        return;
    }
    const std::optional<QRect> place = m_services.statusItem.place();
    m_shownWithoutItem = !place;
    m_services.popover.show(place);
}

void AppDelegate::presentContextMenu()
{
    m_services.statusItem.popUpMenu();
}

StatusMenu AppDelegate::contextMenu()
{
    return {
        {QStringLiteral("Open Tarnwick"), {}, [this] { togglePopover(); }},
        separator(),
        {QStringLiteral("Settings…"), Qt::CTRL | Qt::Key_Comma,
         [this] { m_services.settingsWindow.show(); }},
        {QStringLiteral("Check for Updates…"), {}, m_actions.checkForUpdates},
        separator(),
        {QStringLiteral("Reveal Diagnostic Log"), {}, m_actions.revealLog},
        separator(),
        {QStringLiteral("Quit Tarnwick"), Qt::CTRL | Qt::Key_Q, m_actions.terminate},
    };
}

} // namespace Tarnwick
