// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A group of a form: its title, and a box with what belongs to it.
Column {
    id: root

    required property string title
    default property alias rows: content.data

    spacing: 6
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    PlainText {
        x: 2
        text: root.title
        font.pixelSize: Theme.bodySize
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Rectangle {
        width: root.width
        height: content.height
        radius: 8
        color: Theme.formBox
        border.width: 1
        border.color: Theme.border

        Column {
            id: content

            x: 14
            width: parent.width - 28
        }
    }
}
