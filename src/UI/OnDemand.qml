// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick

/// Makes its delegate, beside itself, while a condition holds. (A Loader cannot make bound
/// components before Qt 6.5.)
Repeater {
    id: root

    required property bool when
    readonly property Item item: count > 0 ? itemAt(0) : null

    model: when ? 1 : 0
}
