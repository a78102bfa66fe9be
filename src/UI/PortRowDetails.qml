// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The figures at the right edge of a row that the pointer is not on.
Column {
    id: root

    required property portRow entry

    spacing: 2

    SelectableText {
        anchors.right: parent.right
        width: implicitWidth
        text: root.entry.pid
        color: Theme.textSecondary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
    LiveUptimeLabel {
        anchors.right: parent.right
        width: implicitWidth
        openedAt: root.entry.openedAt
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
    SelectableText {
        anchors.right: parent.right
        width: implicitWidth
        visible: text.length > 0
        text: root.entry.memory
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 10
    }
}
