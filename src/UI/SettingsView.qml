// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The settings: the tabs, and what the selected one shows.
FocusScope {
    id: root

    enum Tab {
        General,
        About
    }

    required property SettingsModel settings
    required property LaunchAtLogin launchAtLogin
    required property UpdaterController updater
    required property AboutTexts about
    readonly property string navigationTitle: "Tarnwick Settings"
    property int selectedTab: SettingsView.General

    signal closeRequested

    function selectOtherTab(): void {
        const hadFocus = general.activeFocus || about.activeFocus;
        selectedTab = selectedTab === SettingsView.General ? SettingsView.About : SettingsView.General;
        if (hadFocus)
            (selectedTab === SettingsView.General ? general : about).forceActiveFocus();
    }

    implicitWidth: 520
    implicitHeight: 420
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: navigationTitle

    Shortcut {
        sequences: ["Ctrl+Tab", "Ctrl+Shift+Tab"]
        onActivated: root.selectOtherTab()
    }
    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.closeRequested()
    }
    FocusGuard {}
    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }
    Row {
        id: tabs

        anchors.horizontalCenter: parent.horizontalCenter
        y: 8
        spacing: 4
        Accessible.role: Accessible.PageTabList
        Accessible.name: root.navigationTitle
        Keys.onLeftPressed: root.selectOtherTab()
        Keys.onRightPressed: root.selectOtherTab()

        SettingsTab {
            id: general

            label: "General"
            symbol: "gearshape"
            isSelected: root.selectedTab === SettingsView.General
            onClicked: root.selectedTab = SettingsView.General
        }
        SettingsTab {
            id: about

            label: "About"
            symbol: "info.circle"
            isSelected: root.selectedTab === SettingsView.About
            onClicked: root.selectedTab = SettingsView.About
        }
    }
    Hairline {
        id: belowTabs

        anchors.top: tabs.bottom
        anchors.topMargin: 8
        width: parent.width
    }
    GeneralSettingsView {
        anchors.top: belowTabs.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        visible: root.selectedTab === SettingsView.General
        settings: root.settings
        launchAtLogin: root.launchAtLogin
        updater: root.updater
    }
    OnDemand {
        when: root.selectedTab === SettingsView.About

        AboutView {
            anchors.top: belowTabs.bottom
            anchors.bottom: root.bottom
            width: root.width
            about: root.about
        }
    }
}
