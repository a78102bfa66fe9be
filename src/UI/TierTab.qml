// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// One of the tabs: the name of a filter, and how many entries it has in all.
PlainButton {
    id: root

    required property PanelModel panel
    required property int filter
    readonly property bool isSelected: panel.selectedFilter === filter
    readonly property color tint: panel.filterColor(filter)
    readonly property int count: panel.tabCounts[filter]

    label: name.text + ", " + count
    implicitWidth: content.implicitWidth + 20
    implicitHeight: content.implicitHeight + 8
    Accessible.role: Accessible.PageTab
    Accessible.selectable: true
    Accessible.selected: isSelected
    onClicked: panel.selectedFilter = filter

    Rectangle {
        anchors.fill: parent
        radius: 4
        color: root.isSelected ? Theme.withOpacity(root.tint, 0.12) : "transparent"
        border.width: 1
        border.color: root.isSelected ? Theme.withOpacity(root.tint, 0.3) : "transparent"
    }
    Row {
        id: content

        x: 10
        y: 4
        spacing: 5

        PlainText {
            id: name

            text: root.panel.filterName(root.filter)
            color: root.isSelected ? root.tint : Theme.textSecondary
            font.family: Theme.monospaced
            font.pixelSize: 9
            font.weight: Font.DemiBold
            font.letterSpacing: 1.5
            Accessible.ignored: true
        }
        PlainText {
            text: root.count
            color: root.isSelected ? Theme.withOpacity(root.tint, 0.85) : Theme.textTertiary
            font.family: Theme.monospaced
            font.pixelSize: 9
            Accessible.ignored: true
        }
    }
}
