// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Tells how many ports of the system are hidden or shown; a press turns that round.
PlainButton {
    id: root

    required property string text
    required property string call

    label: text + ", " + call
    implicitHeight: content.implicitHeight + 12

    Rectangle {
        anchors.fill: parent
        color: Theme.withOpacity("white", 0.025)
    }
    Row {
        id: content

        x: 14
        y: 6
        spacing: 8

        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            color: Theme.textSecondary
            font.family: Theme.monospaced
            font.pixelSize: 9
            font.weight: Font.DemiBold
            font.letterSpacing: 1.5
            Accessible.ignored: true
        }
        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: root.call
            color: Theme.textTertiary
            font.pixelSize: 10
            Accessible.ignored: true
        }
    }
}
