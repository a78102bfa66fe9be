// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What a check for updates has come to, and the way to what it has found.
FocusScope {
    id: root

    required property UpdaterController updater
    readonly property bool isBusy: updater.stage === UpdaterController.Checking || updater.stage === UpdaterController.Installing
    readonly property bool isAvailable: updater.stage === UpdaterController.Available

    signal closeRequested

    implicitWidth: 440
    implicitHeight: 200
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: headline.text

    Shortcut {
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.closeRequested()
    }
    FocusGuard {
        fallback: close
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }
    ApplicationMark {
        id: mark

        x: 20
        y: 20
        iconSize: 48
        symbolSize: 32
    }
    PlainText {
        id: headline

        anchors.left: mark.right
        anchors.leftMargin: 16
        anchors.right: parent.right
        anchors.rightMargin: 20
        y: mark.y
        height: Math.max(implicitHeight, mark.height)
        verticalAlignment: Text.AlignVCenter
        text: root.updater.headline
        font.pixelSize: Theme.bodySize
        font.weight: Font.DemiBold
        wrapMode: Text.Wrap
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    BusyBar {
        anchors.left: headline.left
        anchors.right: headline.right
        anchors.top: headline.bottom
        anchors.topMargin: 12
        visible: root.isBusy
    }
    ScrolledText {
        anchors.left: headline.left
        anchors.right: headline.right
        anchors.top: headline.bottom
        anchors.topMargin: 10
        anchors.bottom: buttons.top
        anchors.bottomMargin: 14
        visible: !root.isBusy && text.length > 0
        text: root.updater.details
    }
    Row {
        id: buttons

        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 16
        spacing: 10

        // The window may come while the user types: what they type must not install anything.
        PushButton {
            id: close

            label: root.isAvailable ? "Later" : "Close"
            focus: true
            onClicked: root.closeRequested()
        }
        PushButton {
            label: "Install"
            isProminent: true
            visible: root.isAvailable
            onClicked: root.updater.installUpdate()
        }
    }
}
