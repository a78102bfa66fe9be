// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A button with a face, as forms and dialogs have them.
PlainButton {
    id: root

    /// Whether it is what most users want.
    property bool isProminent: false
    readonly property real strength: (isPressed ? 1.5 : 1) * (isHovered ? 1.3 : 1)

    implicitWidth: Math.max(72, caption.implicitWidth + 28)
    implicitHeight: caption.implicitHeight + 10
    cornerRadius: 6
    opacity: enabled ? 1 : 0.4

    Rectangle {
        anchors.fill: parent
        radius: root.cornerRadius
        color: Theme.withOpacity(root.isProminent ? Theme.selection : Theme.border, root.strength)
        border.width: 1
        border.color: root.isProminent ? Theme.focusRing : Theme.borderStrong
    }
    PlainText {
        id: caption

        anchors.centerIn: parent
        text: root.label
        font.pixelSize: Theme.bodySize
        Accessible.ignored: true
    }
}
