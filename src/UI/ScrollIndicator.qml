// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Shows which part of a view is seen, and moves it when it is dragged. Absent while everything
/// is seen.
Item {
    id: root

    required property Flickable view
    readonly property real range: view.contentHeight - view.height
    readonly property real thumbHeight: Math.max(24, height * view.visibleArea.heightRatio)

    width: 11
    visible: range > 0
    Accessible.role: Accessible.ScrollBar
    Accessible.name: "Scroll"

    Rectangle {
        id: thumb

        anchors.right: parent.right
        anchors.rightMargin: 3
        y: (root.height - height) * Math.max(0, Math.min(1, (root.view.contentY - root.view.originY) / root.range))
        width: 5
        height: root.thumbHeight
        radius: 2.5
        color: Theme.withOpacity(Theme.scrollThumb, area.containsMouse || area.pressed ? 1.8 : 1)
    }
    MouseArea {
        id: area

        property real grip: 0

        function drag(y: real): void {
            const place = Math.max(0, Math.min(1, (y - grip) / (root.height - thumb.height)));
            root.view.contentY = Math.round(root.view.originY + place * root.range);
        }

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        onPressed: mouse => {
            const isOnThumb = mouse.y >= thumb.y && mouse.y < thumb.y + thumb.height;
            grip = isOnThumb ? mouse.y - thumb.y : thumb.height / 2;
            drag(mouse.y);
        }
        onPositionChanged: mouse => {
            if (pressed)
                drag(mouse.y);
        }
    }
}
