// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The button of a row that asks for the end of its process.
PlainButton {
    id: root

    implicitWidth: caption.implicitWidth + 24
    implicitHeight: caption.implicitHeight + 10
    cornerRadius: 3

    Rectangle {
        anchors.fill: parent
        radius: 3
        color: Theme.withOpacity(Theme.killRed, root.isHovered ? 0.2 : 0.1)
        border.width: 1
        border.color: Theme.withOpacity(Theme.killRed, root.isHovered ? 0.45 : 0.26)
    }
    PlainText {
        id: caption

        x: 12
        y: 5
        text: "KILL"
        color: Theme.killRed
        font.pixelSize: 9
        font.weight: Font.DemiBold
        font.letterSpacing: 1.5
        Accessible.ignored: true
    }
}
