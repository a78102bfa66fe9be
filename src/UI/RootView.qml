// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What the popover shows: the panel, on the state that the whole program shares.
MenuBarView {
    id: root

    panel: SharedPanel.model

    Binding {
        target: SharedPanel.model
        property: "active"
        value: root.Window.visibility !== Window.Hidden
    }
    Binding {
        target: UptimeClock
        property: "running"
        value: root.Window.visibility !== Window.Hidden
    }
}
