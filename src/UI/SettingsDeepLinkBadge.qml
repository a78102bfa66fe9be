// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Tells in which pane of the system's settings a service can be switched off. Not a button.
Rectangle {
    id: root

    required property string label

    implicitWidth: content.implicitWidth + 16
    implicitHeight: content.implicitHeight + 8
    radius: 3
    color: "transparent"
    border.width: 1
    border.color: Theme.border

    Row {
        id: content

        x: 8
        y: 4
        spacing: 4

        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: "→"
            color: Theme.textSecondary
            font.pixelSize: 10
            Accessible.ignored: true
        }
        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: root.label
            color: Theme.textSecondary
            font.pixelSize: 10
            font.weight: Font.Medium
        }
    }
}
