// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The tooltip of the item that it is made in: it appears when it has existed for a moment, over
/// everything else of the window, below its item or else above it. Make it with the hover.
Item {
    id: root

    required property string text
    readonly property int margin: 8

    function place(): void {
        const scene = root.Window.contentItem;
        const below = root.mapToItem(scene, 0, root.parent.height + 4);
        const above = root.mapToItem(scene, 0, -4 - tag.height);
        tag.parent = scene;
        tag.x = Math.max(margin, Math.min(below.x, scene.width - tag.width - margin));
        tag.y = below.y + tag.height + margin <= scene.height ? below.y : Math.max(margin, above.y);
        tag.visible = true;
    }

    FontMetrics {
        id: metrics

        font: label.font
    }
    Timer {
        interval: 600
        running: true
        onTriggered: root.place()
    }
    Rectangle {
        id: tag

        z: 100
        visible: false
        width: label.width + 16
        height: label.height + 10
        radius: 4
        color: Theme.helpTag
        border.width: 1
        border.color: Theme.borderStrong
        Accessible.ignored: true

        PlainText {
            id: label

            x: 8
            y: 5
            width: Math.min(implicitWidth, 480)
            text: root.text
            color: Theme.textPrimary
            font.pixelSize: 11
            wrapMode: Text.Wrap
            elide: Text.ElideRight
            maximumLineCount: Math.max(1, Math.floor((root.Window.height - 2 * root.margin - 10) / metrics.lineSpacing))
        }
    }
}
