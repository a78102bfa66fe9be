// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The figures at the right edge of a row that the pointer is not on.
Item {
    id: root

    required property portRow entry
    readonly property int spacing: 2

    implicitWidth: Math.max(pid.implicitWidth, uptime.implicitWidth, memory.implicitWidth)
    implicitHeight: memory.y + (memory.text.length > 0 ? memory.height : -spacing)

    SelectableText {
        id: pid

        anchors.right: parent.right
        width: implicitWidth
        text: root.entry.pid
        color: Theme.textSecondary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
    LiveUptimeLabel {
        id: uptime

        anchors.right: parent.right
        y: pid.height + root.spacing
        width: implicitWidth
        visible: root.entry.owned
        openedAt: root.entry.openedAt
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
    SelectableText {
        id: memory

        anchors.right: parent.right
        y: uptime.y + uptime.height + root.spacing
        width: implicitWidth
        visible: text.length > 0
        text: root.entry.memory
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
}
