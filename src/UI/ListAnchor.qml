// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Keeps the place of one row while the list changes, and the current row with it.
QtObject {
    id: root

    required property ListView view
    required property PortListModel rows
    required property HoverHandler pointer
    property portRow anchor
    property portRow current
    property real offset: 0
    property bool hasAnchor: false
    property bool hasCurrent: false

    function itemToKeep(): PortRowItem {
        if (!pointer.hovered && view.contentY <= view.originY)
            return null;
        const y = pointer.hovered ? pointer.point.position.y : 0;
        return view.itemAt(0, view.contentY + y) as PortRowItem;
    }
    function remember(): void {
        const item = itemToKeep();
        hasAnchor = item !== null;
        if (hasAnchor) {
            anchor = item.entry;
            offset = item.y - view.contentY;
        }
        const currentItem = view.currentItem as PortRowItem;
        hasCurrent = currentItem !== null;
        if (hasCurrent)
            current = currentItem.entry;
    }
    function restore(): void {
        if (hasCurrent)
            view.currentIndex = rows.indexOf(current);
        const index = hasAnchor ? rows.indexOf(anchor) : -1;
        if (index < 0)
            return;
        view.forceLayout();
        if (!view.itemAtIndex(index))
            view.positionViewAtIndex(index, ListView.Beginning);
        const end = view.originY + Math.max(0, view.contentHeight - view.height);
        view.contentY = Math.max(view.originY, Math.min(view.itemAtIndex(index).y - offset, end));
    }

    readonly property Connections follower: Connections {
        target: root.rows

        function onAboutToChange(): void {
            root.remember();
        }
        function onChanged(): void {
            root.restore();
        }
        function onReplaced(): void {
            if (root.view.currentItem)
                root.view.currentItem.focus = false;
            root.view.currentIndex = -1;
            root.view.positionViewAtBeginning();
        }
    }
}
