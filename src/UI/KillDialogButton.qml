// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// One of the two buttons of the confirmation.
PlainButton {
    id: root

    enum Kind {
        Secondary,
        Destructive
    }

    required property int kind
    readonly property bool isDestructive: kind === KillDialogButton.Destructive
    readonly property real hoverFactor: isHovered ? 1.08 : 1
    readonly property real fillFactor: hoverFactor + (isPressed ? 0.06 : 0)

    implicitWidth: caption.implicitWidth + 40
    implicitHeight: caption.implicitHeight + 14

    Rectangle {
        anchors.fill: parent
        radius: 4
        color: root.isDestructive ? Theme.withOpacity(Theme.killRed, 0.08 * root.fillFactor) : "transparent"
        border.width: 1
        border.color: root.isDestructive ? Theme.withOpacity(Theme.killRed, 0.22 * root.hoverFactor) : Theme.withOpacity(Theme.border, root.hoverFactor)
    }
    PlainText {
        id: caption

        x: 20
        y: 7
        text: root.label
        color: root.isDestructive ? Theme.killRed : Theme.textSecondary
        font.family: Theme.monospaced
        font.pixelSize: 9
        font.weight: Font.DemiBold
        font.letterSpacing: 1.5
        Accessible.ignored: true
    }
}
