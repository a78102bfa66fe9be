// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The command that lists the same in a terminal, and how many listeners there are.
Item {
    id: root

    required property string count

    implicitHeight: 16 + command.height

    PlainText {
        id: command

        x: 14
        y: 8
        text: "lsof -i -P -n -sTCP:LISTEN"
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 9
    }
    PlainText {
        anchors.right: parent.right
        anchors.rightMargin: 14
        y: 8
        text: root.count
        color: Theme.textTertiary
        font.family: Theme.monospaced
        font.pixelSize: 9
    }
}
