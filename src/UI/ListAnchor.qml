// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Keeps what the user looks at in its place while the list changes: the row under the pointer, else
/// the one with the keyboard, else the first visible one that stays, unless the list is at its top.
QtObject {
    id: root

    required property ListView view
    required property PortListModel rows
    required property HoverHandler pointer
    /// For each row that is kept, in the order of their importance, how far below the view's upper
    /// edge it is; not a number for one whose place does not matter.
    property list<real> offsets

    function remember(): void {
        const kept = [];
        const keep = (index, mattersHere) => {
            const item = view.itemAtIndex(index);
            if (!item)
                return;
            rows.keep(index);
            kept.push(mattersHere && isVisible(item) ? item.y - view.contentY : NaN);
        };
        if (pointer.hovered)
            keep(view.indexAt(0, view.contentY + pointer.point.position.y), true);
        keep(view.currentIndex, view.activeFocus);
        const isScrolled = view.contentY > view.originY;
        const end = view.indexAt(0, view.contentY + view.height - 1);
        const last = end < 0 ? view.count - 1 : end;
        for (let i = Math.max(0, view.indexAt(0, view.contentY)); i <= last; ++i)
            keep(i, isScrolled);
        offsets = kept;
    }
    function isVisible(item: Item): bool {
        return item.y + item.height > view.contentY && item.y < view.contentY + view.height;
    }
    function restore(): void {
        for (let i = 0; i < offsets.length; ++i) {
            const index = isNaN(offsets[i]) ? -1 : rows.keptIndex(i);
            if (index >= 0) {
                putAt(index, offsets[i]);
                return;
            }
        }
    }
    function putAt(index: int, offset: real): void {
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
