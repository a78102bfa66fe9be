// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The title of the panel, and the way to the settings.
Item {
    id: root

    signal settingsRequested

    implicitHeight: 22 + Math.max(mark.height, title.height, settings.height)

    Symbol {
        id: mark

        x: 14
        anchors.verticalCenter: parent.verticalCenter
        name: "network"
        pixelSize: 13
        color: Theme.textPrimary
    }
    PlainText {
        id: title

        anchors.left: mark.right
        anchors.leftMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        text: "Tarnwick"
        font.pixelSize: 13
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    PlainButton {
        id: settings

        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        width: gear.implicitWidth
        height: gear.implicitHeight
        label: "Settings"
        onClicked: root.settingsRequested()

        Symbol {
            id: gear

            anchors.fill: parent
            name: "gearshape"
            pixelSize: 12
            color: Theme.textSecondary
        }
        OnDemand {
            when: settings.isHovered

            HelpTag {
                text: "Settings"
            }
        }
    }
}
