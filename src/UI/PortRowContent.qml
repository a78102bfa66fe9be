// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The middle of a row: what listens, how it was started and where. (No positioner: those place
/// things a frame later, and a list needs the height of a row as soon as there is one.)
Item {
    id: root

    required property portRow entry
    /// While it has less room than it should, it takes no more lines than before.
    required property bool isNarrowed
    readonly property int spacing: 3

    implicitHeight: folder.y + (folder.text.length > 0 ? folder.height : -spacing)

    SelectableText {
        id: description

        readonly property real room: root.width - (suffix.text.length > 0 ? suffix.width + 6 : 0)

        y: (title.height - height) / 2
        width: Math.min(implicitWidth, room)
        height: implicitHeight
        text: root.entry.description
        font.pixelSize: 13
        maximumLineCount: 1
    }
    SelectableText {
        id: suffix

        x: description.width + 6
        y: (title.height - height) / 2
        width: Math.min(implicitWidth, Math.max(root.width / 2, root.width - 6 - description.implicitWidth))
        height: implicitHeight
        visible: text.length > 0
        text: root.entry.processSuffix
        color: Theme.textSecondary
        font.family: Theme.monospaced
        font.pixelSize: 11
        maximumLineCount: 1
    }
    Item {
        id: title

        width: root.width
        height: Math.max(description.height, suffix.text.length > 0 ? suffix.height : 0)
    }
    PortRowLine {
        id: command

        y: title.height + root.spacing
        width: root.width
        text: root.entry.command
        color: Theme.textTertiary
        isNarrowed: root.isNarrowed
    }
    PortRowLine {
        id: folder

        y: command.y + (command.text.length > 0 ? command.height + root.spacing : 0)
        width: root.width
        text: root.entry.folder
        color: Theme.withOpacity(Theme.textSecondary, 0.85)
        isNarrowed: root.isNarrowed
    }
}
