// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What stands in the place of the list when there is nothing to list.
Item {
    id: root

    required property string heading
    required property string line

    Column {
        anchors.centerIn: parent
        width: parent.width - 80
        spacing: 8

        PlainText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.heading
            color: Theme.textTertiary
            font.family: Theme.monospaced
            font.pixelSize: 10
            font.weight: Font.DemiBold
            font.letterSpacing: 2
            Accessible.role: Accessible.Heading
        }
        PlainText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: root.line
            color: Theme.textSecondary
            font.pixelSize: 12
            wrapMode: Text.Wrap
        }
    }
}
