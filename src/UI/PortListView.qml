// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The scrolling list of the rows. When the list changes, the row under the pointer keeps its
/// place; without one the first visible row does, unless the list is at its top.
FocusScope {
    id: root

    required property PortListModel rows
    readonly property alias view: list

    signal killRequested(portRow entry)

    function scrollBy(distance: real): void {
        const end = list.originY + Math.max(0, list.contentHeight - list.height);
        list.contentY = Math.round(Math.max(list.originY, Math.min(list.contentY + distance, end)));
        // Where the end is, is a guess until its rows are there.
        list.returnToBounds();
    }
    function select(index: int): void {
        if (list.count === 0)
            return;
        list.currentIndex = Math.max(0, Math.min(index, list.count - 1));
        list.positionViewAtIndex(list.currentIndex, ListView.Contain);
    }

    ListView {
        id: list

        readonly property int pageLength: Math.max(1, Math.floor(height / 60))

        anchors.fill: parent
        focus: true
        activeFocusOnTab: true
        clip: true
        model: root.rows
        currentIndex: -1
        cacheBuffer: 120
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        highlightFollowsCurrentItem: false
        keyNavigationEnabled: false
        // The pointer of a mouse selects text; only a finger drags the list.
        interactive: !pointer.hovered
        Accessible.role: Accessible.List
        Accessible.name: "Listening ports"
        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0)
                root.select(indexAt(0, contentY));
        }
        Keys.onUpPressed: root.select(currentIndex - 1)
        Keys.onDownPressed: root.select(currentIndex + 1)
        Keys.onPressed: event => {
            const steps = new Map([[Qt.Key_Home, -count], [Qt.Key_End, count], [Qt.Key_PageUp, -pageLength], [Qt.Key_PageDown, pageLength]]);
            event.accepted = steps.has(event.key);
            if (event.accepted)
                root.select(currentIndex + steps.get(event.key));
        }

        delegate: PortRowItem {
            width: list.width
            onActiveFocusChanged: {
                if (activeFocus)
                    list.currentIndex = index;
            }
            onKillRequested: root.killRequested(entry)
        }
    }
    HoverHandler {
        id: pointer

        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
    }
    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => root.scrollBy(event.pixelDelta.y !== 0 ? -event.pixelDelta.y : -event.angleDelta.y / 120 * 54)
    }
    ListAnchor {
        view: list
        rows: root.rows
        pointer: pointer
    }
    ScrollIndicator {
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        view: list
    }
}
