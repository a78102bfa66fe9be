// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/MoveToApplications.h"
#include "Platform/StatusItem.h"

#include <QObject>

#include <functional>

namespace Tarnwick {

class AppState;
class FirstRunOnboarding;
class LaunchContext;
class NetworkMonitor;
class Popover;
class Preferences;
class SettingsWindowOpener;

/// What the application does of itself: it launches, greets the user, and answers clicks on its
/// status item and choices from its menu. Main thread.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// What the delegate directs. All of it outlives the delegate.
    struct Services
    {
        StatusItem &statusItem;
        Popover &popover;
        const LaunchContext &launchContext;
        const Preferences &preferences;
        AppState &appState;
        NetworkMonitor &networkMonitor;
        FirstRunOnboarding &onboarding;
        SettingsWindowOpener &settingsWindow;
    };

    /// What the launch and the menu do that is none of the delegate's business. One that is not
    /// set does nothing.
    struct Actions
    {
        /// Offers to move the application to where it belongs; returns when it was answered.
        std::function<MoveToApplications::Outcome()> promptToMove{};
        /// Sees to it that there is an update controller.
        std::function<void()> makeUpdater{};
        std::function<void()> checkForUpdates{};
        std::function<void()> revealLog{};
        std::function<void()> terminate{};
    };

    AppDelegate(const Services &services, Actions actions);

    /// The launch, once: the offer to move, update controller, status item, popover, saved
    /// preferences, first scan, greeting. It ends with the offer if the application moved.
    void applicationDidFinishLaunching();

    void handleStatusClick(const StatusClick &click);

    /// Closes the popover if it is shown, shows it otherwise.
    void togglePopover();

    /// Shows the popover if it is not shown.
    void openPopover();

    /// Shows the popover, and brings it forward if it is shown: somebody started the application
    /// again. Nothing while the launch still waits for an answer.
    void reopen();

    void presentContextMenu();

    /// The entries of the status item's menu, in their order.
    [[nodiscard]] StatusMenu contextMenu();

private:
    [[nodiscard]] bool hasMoved() const;
    void createStatusItem();
    void setUpPopover();
    void applySavedPreferences();
    void startMonitoring();
    void presenceChanged(StatusItem::Presence presence);
    void greet();

    Services m_services;
    Actions m_actions;
    bool m_hasItem = false;
    bool m_greeted = false;
    bool m_shownWithoutItem = false; ///< the popover is an ordinary window for want of a tray
};

} // namespace Tarnwick
