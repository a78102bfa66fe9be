// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The small label that names a tier, in the tier's colour.
Rectangle {
    id: root

    required property string tier
    required property color tint

    implicitWidth: label.implicitWidth + 14
    implicitHeight: label.implicitHeight + 4
    radius: 3
    color: Theme.withOpacity(tint, 0.1)
    border.width: 1
    border.color: Theme.withOpacity(tint, 0.22)

    SelectableText {
        id: label

        x: 7
        y: 2
        width: implicitWidth
        text: root.tier
        color: root.tint
        font.pixelSize: 8
        font.weight: Font.DemiBold
        font.letterSpacing: 1.5
    }
}
