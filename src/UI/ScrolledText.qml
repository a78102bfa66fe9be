// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A text of any length in the room that there is. The keyboard reaches and scrolls it.
Item {
    id: root

    required property string text
    readonly property bool isScrollable: view.contentHeight > view.height
    readonly property real line: Theme.calloutSize * 1.5

    function scroll(distance: real): void {
        view.contentY = Math.max(0, Math.min(view.contentHeight - view.height, view.contentY + distance));
    }

    // Qt lets no item that has the focus leave the order of Tab.
    activeFocusOnTab: isScrollable || activeFocus
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.focusable: isScrollable
    Keys.onUpPressed: root.scroll(-root.line)
    Keys.onDownPressed: root.scroll(root.line)
    Keys.onPressed: event => {
        event.accepted = [Qt.Key_PageUp, Qt.Key_PageDown].includes(event.key);
        if (event.accepted)
            root.scroll(event.key === Qt.Key_PageDown ? view.height : -view.height);
    }

    Flickable {
        id: view

        anchors.fill: parent
        clip: true
        contentHeight: content.height
        boundsBehavior: Flickable.StopAtBounds

        SelectableText {
            id: content

            width: view.width - 14
            text: root.text
            color: Theme.textSecondary
            font.pixelSize: Theme.calloutSize
            wrapMode: Text.Wrap
        }
    }
    ScrollIndicator {
        anchors.right: parent.right
        height: parent.height
        view: view
    }
    FocusRing {}
}
