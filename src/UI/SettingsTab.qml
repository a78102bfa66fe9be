// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// One of the tabs of the settings: a symbol and a name.
PlainButton {
    id: root

    required property string symbol
    required property bool isSelected
    readonly property color tint: isSelected ? Theme.accentBlue : Theme.textSecondary

    implicitWidth: Math.max(72, caption.implicitWidth + 24)
    implicitHeight: content.height + 12
    cornerRadius: 6
    Accessible.role: Accessible.PageTab
    Accessible.selectable: true
    Accessible.selected: isSelected

    Rectangle {
        anchors.fill: parent
        radius: root.cornerRadius
        color: root.isSelected || root.isHovered ? Theme.hoverTint : "transparent"
    }
    Column {
        id: content

        anchors.centerIn: parent
        spacing: 3

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.symbol
            pixelSize: 16
            color: root.tint
        }
        PlainText {
            id: caption

            anchors.horizontalCenter: parent.horizontalCenter
            text: root.label
            color: root.tint
            font.pixelSize: 11
            Accessible.ignored: true
        }
    }
}
