// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// A row of the list with the divider below it.
FocusScope {
    id: root

    required property portRow entry
    required property int index

    signal killRequested

    implicitHeight: row.height + 1

    PortRowView {
        id: row

        width: root.width
        height: implicitHeight
        focus: true
        entry: root.entry
        onKillRequested: root.killRequested()
    }
    Hairline {
        anchors.top: row.bottom
        width: root.width
        opacity: 0.5
    }
}
