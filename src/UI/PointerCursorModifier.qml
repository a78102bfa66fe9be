// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick

/// The pointing hand over its parent while the pointer is there; every clickable control has one.
HoverHandler {
    cursorShape: Qt.PointingHandCursor
}
