// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What the application is.
Item {
    id: root

    required property AboutTexts about

    Column {
        width: root.width
        topPadding: 40
        spacing: 8

        ApplicationMark {
            anchors.horizontalCenter: parent.horizontalCenter
            iconSize: 96
            symbolSize: 40
        }
        PlainText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.about.name
            font.pixelSize: Theme.title2Size
            font.bold: true
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        PlainText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.about.version
            color: Theme.textSecondary
            font.pixelSize: Theme.calloutSize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        PlainText {
            width: parent.width
            leftPadding: 40
            rightPadding: 40
            horizontalAlignment: Text.AlignHCenter
            text: root.about.description
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
