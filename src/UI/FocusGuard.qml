// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick

/// Keeps the keyboard focus of its window on what is visible and enabled. Qt takes the focus from
/// an item that becomes disabled, but leaves it on one that becomes invisible, which then goes on
/// receiving keys. What had the focus has it again when it comes back, unless the user has moved the
/// focus meanwhile. One for each window.
Item {
    id: root

    /// Gets the focus of a hidden item, and keeps it; without one, the focus scope around the hidden
    /// item gets it until the item comes back.
    property Item fallback: null
    property Item hiddenItem: null
    property Item holder: null

    function canHaveFocus(item: Item): bool {
        return item.visible && item.enabled;
    }
    /// The outermost hidden item that has the focus or surrounds what has it: what is inside a
    /// hidden focus scope keeps its place for when the scope is shown again.
    function outermostHidden(): Item {
        let found = null;
        for (let item = root.Window.activeFocusItem; item !== null; item = item.parent) {
            if (item.activeFocus && !canHaveFocus(item))
                found = item;
        }
        return found;
    }

    function moveFocusOffHidden(): void {
        const hidden = outermostHidden();
        if (hidden === null)
            return;
        hidden.focus = false;
        if (fallback !== null) {
            fallback.forceActiveFocus();
        } else {
            hiddenItem = hidden;
            holder = root.Window.activeFocusItem;
        }
    }
    function giveFocusBack(): void {
        if (hiddenItem === null || !canHaveFocus(hiddenItem))
            return;
        const returning = hiddenItem;
        hiddenItem = null;
        if (root.Window.activeFocusItem === holder)
            returning.forceActiveFocus();
    }

    Connections {
        target: root.Window.window

        function onActiveFocusItemChanged(): void {
            root.moveFocusOffHidden();
        }
    }
    Connections {
        target: root.Window.activeFocusItem

        function onVisibleChanged(): void {
            root.moveFocusOffHidden();
        }
    }
    Connections {
        target: root.hiddenItem

        function onVisibleChanged(): void {
            root.giveFocusBack();
        }
    }
}
