// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The bubble of the first start: where the application lives. Its arrow points there.
Rectangle {
    id: root

    /// Whether the bubble is above the icon, for want of room below it.
    property bool isAbove: false
    property string text: SystemWording.whereItLives

    signal dismiss

    component Arrow: PlainText {
        anchors.horizontalCenter: parent.horizontalCenter
        color: Qt.rgba(74 / 255, 222 / 255, 128 / 255, 1)
        font.pixelSize: 22
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }

    implicitWidth: 260
    implicitHeight: 96
    radius: 10
    color: Qt.rgba(6 / 255, 9 / 255, 15 / 255, 0.96)
    border.width: 1
    border.color: Theme.border
    Accessible.role: Accessible.Button
    Accessible.name: root.text + " Click anywhere to dismiss."
    Accessible.onPressAction: root.dismiss()

    Column {
        anchors.centerIn: parent
        width: parent.width - 32
        spacing: 6

        Arrow {
            visible: !root.isAbove
            text: "↑"
        }
        PlainText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.text
            color: "white"
            font.pixelSize: 12
            font.weight: Font.Medium
            Accessible.ignored: true
        }
        PlainText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "CLICK ANYWHERE TO DISMISS"
            color: Theme.withOpacity("white", 0.55)
            font.pixelSize: 9
            font.letterSpacing: 1.5
            Accessible.ignored: true
        }
        Arrow {
            visible: root.isAbove
            text: "↓"
        }
    }
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: root.dismiss()
    }
}
