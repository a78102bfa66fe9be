// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// One listener. The pointer, or the keyboard's focus, brings out what can be done about it in the
/// place of its figures: the kill button, or where a system service is switched off.
FocusScope {
    id: root

    required property portRow entry
    readonly property bool isHovered: hover.hovered
    readonly property bool isFocused: Window.activeFocusItem === root
    readonly property bool isRevealed: isHovered || isFocused
    readonly property bool offersKill: isRevealed && !entry.system
    readonly property bool offersSettings: isRevealed && entry.system && entry.settingsLink.length > 0

    signal killRequested

    function requestKill(): void {
        if (!entry.system)
            killRequested();
    }

    implicitHeight: 20 + Math.max(port.height, badge.y + badge.height - 10, content.height, details.height)
    Accessible.role: Accessible.ListItem
    Accessible.name: entry.accessibleName
    Accessible.description: entry.accessibleDescription
    Accessible.focusable: true
    Accessible.onPressAction: {
        if (enabled)
            requestKill();
    }
    Keys.onPressed: event => {
        event.accepted = [Qt.Key_Return, Qt.Key_Enter, Qt.Key_Delete].includes(event.key);
        if (event.accepted && !event.isAutoRepeat)
            root.requestKill();
    }

    HoverHandler {
        id: hover
    }
    Rectangle {
        anchors.fill: parent
        color: root.entry.system ? Theme.systemRowTint : root.isHovered ? Theme.hoverTint : "transparent"
    }
    SelectableText {
        id: port

        x: 14
        y: 10
        width: 74
        text: root.entry.port
        color: root.entry.processColor
        font.family: Theme.monospaced
        font.pixelSize: 13
        font.weight: Font.Medium
    }
    TierBadgeView {
        id: badge

        x: 100
        y: 12
        tier: root.entry.tier
        tint: root.entry.tierColor
    }
    PortRowContent {
        id: content

        x: 184
        y: 10
        width: root.width - x - 12 - trailing.width - 14
        entry: root.entry
        isNarrowed: root.offersSettings
    }
    Item {
        id: trailing

        anchors.right: parent.right
        anchors.rightMargin: 14
        y: 10
        // As wide with the kill button as with the figures: the texts beside it must not move.
        width: settings.item ? Math.max(160, settings.item.width) : details.width

        PortRowDetails {
            id: details

            anchors.right: parent.right
            width: Math.max(76, implicitWidth)
            visible: !root.offersKill && !root.offersSettings
            opacity: 1 - kill.opacity
            entry: root.entry
        }
        Item {
            id: kill

            anchors.fill: parent
            enabled: root.offersKill
            opacity: root.offersKill ? 1 : 0

            OnDemand {
                when: root.offersKill || kill.opacity > 0

                KillButton {
                    anchors.right: kill.right
                    y: 1
                    label: "Kill " + root.entry.accessibleName
                    activeFocusOnTab: false
                    onClicked: root.requestKill()
                }
            }

            Behavior on opacity {
                NumberAnimation {
                    duration: 100
                    easing.type: Easing.InOutQuad
                }
            }
        }
        OnDemand {
            id: settings

            when: root.offersSettings

            SettingsDeepLinkBadge {
                anchors.right: trailing.right
                y: 1
                label: root.entry.settingsLink
            }
        }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 1
        visible: root.isFocused
        color: "transparent"
        radius: 4
        border.width: 2
        border.color: Theme.focusRing
    }
}
