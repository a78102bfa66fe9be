// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Shows that something goes on whose end is not known.
Rectangle {
    id: root

    implicitHeight: 4
    radius: 2
    clip: true
    color: Theme.controlTrack
    Accessible.role: Accessible.ProgressBar
    Accessible.name: "Busy"

    Rectangle {
        id: part

        width: root.width / 4
        height: root.height
        radius: root.radius
        color: Theme.accentBlue

        SequentialAnimation on x {
            running: root.visible && root.Window.visibility !== Window.Hidden
            loops: Animation.Infinite

            NumberAnimation {
                from: 0
                to: root.width - part.width
                duration: 900
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                from: root.width - part.width
                to: 0
                duration: 900
                easing.type: Easing.InOutQuad
            }
        }
    }
}
