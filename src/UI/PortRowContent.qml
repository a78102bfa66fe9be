// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The middle of a row: what listens, how it was started and where.
Column {
    id: root

    required property portRow entry
    /// While it has less room than it should, it takes no more lines than before.
    required property bool isNarrowed

    spacing: 3

    Item {
        width: root.width
        height: Math.max(description.height, suffix.visible ? suffix.height : 0)

        SelectableText {
            id: description

            readonly property real room: root.width - (suffix.visible ? suffix.width + 6 : 0)

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, room)
            height: implicitHeight
            text: root.entry.description
            font.pixelSize: 13
            maximumLineCount: 1
        }
        SelectableText {
            id: suffix

            anchors.verticalCenter: parent.verticalCenter
            anchors.left: description.right
            anchors.leftMargin: 6
            width: Math.min(implicitWidth, Math.max(root.width / 2, root.width - 6 - description.implicitWidth))
            height: implicitHeight
            visible: text.length > 0
            text: root.entry.processSuffix
            color: Theme.textSecondary
            font.family: Theme.monospaced
            font.pixelSize: 11
            maximumLineCount: 1
        }
    }
    SelectableText {
        property int linesBefore: 2

        onLineCountChanged: linesBefore = root.isNarrowed ? linesBefore : lineCount
        width: root.width
        visible: text.length > 0
        text: root.entry.command
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 10
        wrapMode: Text.Wrap
        maximumLineCount: root.isNarrowed ? Math.max(1, linesBefore) : 2
    }
    SelectableText {
        property int linesBefore: 2

        onLineCountChanged: linesBefore = root.isNarrowed ? linesBefore : lineCount
        width: root.width
        visible: text.length > 0
        text: root.entry.folder
        color: Theme.withOpacity(Theme.textSecondary, 0.85)
        font.family: Theme.monospaced
        font.pixelSize: 10
        wrapMode: Text.Wrap
        maximumLineCount: root.isNarrowed ? Math.max(1, linesBefore) : 2
    }
}
