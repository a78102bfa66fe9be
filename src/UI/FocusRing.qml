// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Marks its parent as the control that the keyboard talks to.
Rectangle {
    id: root

    /// The corners of what it surrounds.
    property int cornerRadius: 4

    anchors.fill: parent
    anchors.margins: -2
    visible: parent?.activeFocus ?? false
    color: "transparent"
    radius: cornerRadius + 2
    border.width: 2
    border.color: Theme.focusRing
}
