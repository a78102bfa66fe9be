// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The application's icon, or its symbol where it has none.
Item {
    id: root

    required property int iconSize
    /// The size of the font that the symbol would be beside.
    required property int symbolSize

    implicitWidth: icon.isPresent ? iconSize : symbol.width
    implicitHeight: icon.isPresent ? iconSize : symbol.height

    ApplicationIcon {
        id: icon

        width: root.iconSize
        height: root.iconSize
        visible: isPresent
    }
    Symbol {
        id: symbol

        visible: !icon.isPresent
        name: "network"
        pixelSize: root.symbolSize
        color: Theme.accentBlue
    }
}
