// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// Why what the control above it was to do has failed; it takes no room while there is nothing.
PlainText {
    visible: text.length > 0
    bottomPadding: 9
    color: Theme.killRed
    font.pixelSize: Theme.captionSize
    wrapMode: Text.Wrap
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text
}
