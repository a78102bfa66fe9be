// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What every button of the interface does, without any look: it is pressed by pointer, keyboard
/// or assistive technology. Only the keyboard gives it the focus.
Item {
    id: root

    /// What it is called by those who do not see it.
    required property string label
    property int cornerRadius: 4
    readonly property bool isHovered: pointer.hovered
    readonly property bool isPressed: tap.pressed

    signal clicked

    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: label
    // Qt 6.4 tells nobody that an item is disabled.
    Accessible.description: enabled ? "" : "unavailable"
    Accessible.focusable: enabled
    Accessible.onPressAction: {
        if (enabled) // which assistive technology need not heed
            root.clicked();
    }
    Keys.onPressed: event => {
        const presses = [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key);
        event.accepted = presses;
        if (presses && !event.isAutoRepeat)
            root.clicked();
    }

    PointerCursorModifier {
        id: pointer
    }
    TapHandler {
        id: tap

        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: root.clicked()
    }
    FocusRing {
        cornerRadius: root.cornerRadius
    }
}
