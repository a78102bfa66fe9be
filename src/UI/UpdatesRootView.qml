// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// What the update window shows: the updater of the program.
UpdatesView {
    id: root

    updater: SharedSettings.updater
    onCloseRequested: root.Window.window.close()
}
