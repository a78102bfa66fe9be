// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The divider between the parts of the panel.
Rectangle {
    implicitHeight: 1
    color: Theme.border
}
